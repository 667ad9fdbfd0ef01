*! args: , nostop
* Would catch: a code that exit loses on its way through blocks and loops, or
* _rc set by an exit behind capture.
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
program captured
    capture error 5
    capture {
        exit 9
    }
    display "must not run"
end
captured
* Neither the exit nor the line that failed changed it.
display _rc
program expression
    exit 100 + 11
end
capture expression
display _rc
* The option is refused before anything is left.
capture exit 3, nosuch
display _rc
local i = 0
while `i' < 3 {
    local i = `i' + 1
    if `i' == 2 exit
    display `i'
}
display "must not run: exit in a loop ends the file"
