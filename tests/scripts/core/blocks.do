*! args: , nostop
// A brace taken for a line, a failing line that does not end its block, a skipped block that runs.
{
    display "one"
    {
        display "two"
    }
}
capture {
    display "hidden"
    error 109
    display "must not run"
}
display _rc
// 109
program inner
    if 0 {
        capture {
            nosuchcommand
        }
    }
    capture noisily {
        display "shown"
        if 0 {
            display "must not run"
        }
        else {
            display "else"
        }
        error 111
        if 1 {
            display "must not run"
        }
    }
    display _rc
end
inner
// shown, else, the words of error 111 (invalid syntax), 111
inner
// the same again: the remembered ends of skipped blocks are right
{ display 1
// "program error:  code follows on the same line as open brace", 198
capture noisily {
    display 2
} display 3
// 2, then the words for a close brace
display _rc
// 198
program old
    version 7
    if 1 { display "a" } else { display "b" }
    if 0 { display "c" } else { display "d"
        display "e" }
    local i = 0
    while `i' < 2 { local i = `i' + 1
        display `i' }
end
old
// a, d, e, 1, 2
