*! args: , nostop
// A code that exit loses on its way through blocks and loops, _rc set by an exit behind capture.
program plain
    exit 7
    display "must not run"
end
capture plain
display _rc
program deep
    if 1 {
        while 1 {
            {
                exit 8
            }
        }
    }
    display "must not run"
end
capture deep
display _rc
// 8
program captured
    capture error 5
    capture {
        exit 9
    }
    display "must not run"
end
captured
// r(9)
display _rc
// 5: neither the exit nor the line that failed changed it
program expression
    exit 100 + 11
end
capture expression
display _rc
// 111
capture exit 3, nosuch
display _rc
// 198: the option is refused before anything is left
local i = 0
while `i' < 3 {
    local i = `i' + 1
    if `i' == 2 exit
    display `i'
}
display "must not run: exit in a loop ends the file"
