*! args: , nostop
// A false branch that runs or unbalances what follows, an else tied to the wrong if, a missing value
// that counts as false.
if 1 display "yes"
if 0 display "must not run"
else display "else"
if . {
    display "missing is true"
}
else {
    display "must not run"
}
program branch
    if "`1'" == "a" {
        display "first"
    }
    else if "`1'" == "b" {
        display "second"
    }
    else {
        display "third"
    }
    if "`1'" == "b" if 0 display "must not run"
    else display "inner else"
end
branch a
branch b
branch c
// first inner else (the if is false), second inner else, third inner else
if 0 quietly {
    nosuch
}
if 1 else display 1
// "if may not be immedately followed by else", 198
if 1
// invalid syntax, 198
if "a" display 1
// type mismatch, 109
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
// 1, 3, left at 4
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
// "while command may not result from a macro expansion interactively or in do files", 198
while 1 {
    display "once"
    error 5
}
// once, the words of 5, r(5) a single time
continue
// statement out of context, 119
