*! args: , nostop
* Would catch: a list that is made again at each pass, quotes that stay on a
* word, passes that go on behind an error, a new list that makes variables.
foreach x in a "b c" `"d "e""' {
    display `"`x'|`ferest()'"'
}
local list one two three
foreach x of local list {
    local list changed
    if "`x'" == "two" continue
    display "`x'"
    local x other
}
global names $nothing
foreach x of global names {
    display "must not run"
}
foreach x in {
    display "must not run"
}
display "after two empty lists: `x'"
* In a program the header and the body are read from stored text; in skip mode
* they are passed over.
program nested
    foreach x in 1 2 3 {
        foreach y of numlist 1/2 5 {
            if `y' == 2 continue
            if `x' == 2 continue, break
            display "`x' `y' [`ferest()']"
        }
        if 0 {
            foreach z in no {
                display "must not run"
            }
        }
    }
    capture foreach x in 1 2 3 {
        if `x' == 2 error 7
    }
    display _rc " at `x'"
    * A loop that fails before its first pass leaves its body out.
    foreach wrong in nosuchkind no-such {
        capture foreach y of `wrong' a {
            display "must not run"
        }
        display _rc
    }
    capture foreach y of numlist 1/ {
        display "must not run"
    }
    display _rc
    foreach x in 1 2 {
        if `x' == 2 exit 9
    }
    display "must not run"
end
capture noisily nested
display _rc
* What is asked for inside a program is not the list of its caller.
program inner
    display "[`ferest()']"
end
foreach x in a b {
    inner
    display "[`ferest()']"
}
set obs 2
generate alpha = 1
generate beta = 2
generate gamma = 3
foreach v of varlist g alpha-beta {
    display "`v'"
    if "`v'" == "gamma" drop beta
}
foreach v of newlist z1-z3 float (q r) {
    display "`v'"
}
display c(k)
foreach v of newlist z1 z1 {
    display "must not run"
}
foreach v of newlist alpha {
    display "must not run"
}
foreach v of varlist beta {
    display "must not run"
}
foreach n of numlist 1 . 2 {
    display "must not run"
}
foreach 1-x in a {
    display "must not run"
}
foreach x a b {
    display "must not run"
}
foreach x of local a b {
    display "must not run"
}
* The loop's word has to be seen before macros are expanded.
local word foreach
`word' x in a b {
* Quiet and captured loops.
quietly foreach x in a b {
    display "must not show"
    noisily display "`x'"
}
capture noisily foreach x in a b {
    display "`x'"
    error 111
}
display _rc
* Text beside braces, before version 8.
program old
    version 7
    foreach x in a b { display "`x'" } display "behind"
end
old
foreach x in a b {
    exit
}
