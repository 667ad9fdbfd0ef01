*! args: , nostop
* Would catch: a body that runs on behind continue or an error, inner loops
* that share a body, a condition that is expanded once only.
program loop
    local i = 0
    while `i' < 5 {
        local i = `i' + 1
        if `i' == 2 {
            continue
            display "must not run"
        }
        if `i' == 4 continue, break
        display `i'
    }
    display "left at `i'"
end
loop
local i = 0
while `i' < 2 {
    local i = `i' + 1
    local j = 0
    while `j' < 2 {
        local j = `j' + 1
        display "`i' `j'"
    }
}
local w while
`w' 0 {
* The failing line ends the loop, and its code shows once.
while 1 {
    display "once"
    error 5
}
continue
