*! args: , nostop
* Would catch: a pass too many or too few, a counter that follows the macro, a
* range read wrongly.
forvalues i = 1/3 {
    display `i'
    local i 100
}
forv i = 10(-5)0 {
    display `i'
}
forvalues i=-1 -.5 to .5 {
    display `i'
}
forvalues i = 1 3 : 6 {
    display `i'
}
* The counter adds up: .1 + .1 + .1 is above .3.
forvalues i = 0.1(0.1)0.3 {
    display "`i'"
}
local n 2
forvalues i = `n'( `n' )1e1 {
    local n 1
    display "`i'"
}
forvalues i = 1(1)0 {
    display "must not run"
}
forvalues i = 3/1 {
    display "must not run"
}
forvalues i = 1(0)3 {
    display "must not run"
}
forvalues i = 4 4 to 9 {
    display "must not run"
}
program refused
    foreach range in "1 3" "1/" "1/x" ". / 3" "1/3 4" "1[1]3" "1 2 up 3" {
        capture forvalues i = `range' {
            display "must not run"
        }
        display _rc
    }
end
refused
program inner
    forvalues i = 1/4 {
        forvalues j = 1/4 {
            if `j' > `i' continue, break
            if mod(`i' + `j', 2) {
                if `i' > 2 {
                    continue
                }
            }
            display "`i' `j'"
            if `i' == 4 exit 3
        }
    }
end
capture noisily inner
display _rc
* A program defined in a body, with braces and a comment of its own.
forvalues i = 1/2 {
    capture program drop made
    program made
        * {
        forvalues k = 1/`1' {
            display "made `k'"
        }
    end
    made `i'
}
forvalues i = 1/2 {
    if `i' == 2 {
        nosuchcommand
    }
    display "pass `i'"
}
display "behind the loop"
continue
forvalues i = 1/2 { display `i'
