*! run: piped
*! show: asked.tmrk
* Would catch: lines from standard input that are not echoed, a program typed
* at the keyboard, a failing line that ends the session.
display "one"

    display 1 + 2
nosuchcommand
display _rc
program typed
    display "typed `1'"
end
typed x
quietly program hidden
    display "no numbers"
end
hidden
if 1 {
    display "in a block"
}
local i = 0
while `i' < 2 {
    local i = `i' + 1
    display `i'
}
do data/args a b
quietly log using asked
display "name: " _request(name) "thanks"
what was asked
quietly log close
display "$name"
capture noisily error 5
exit 7
display "exit with a number ended the session"
