*! args: , nostop
* Would catch: a brace taken for a line, a failing line that does not end its
* block, a skipped block that runs.
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
program inner
    if 0 {
        capture {
            nosuchcommand
        }
    }
    capture noisily {
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
* Twice the same: the remembered ends of skipped blocks are right.
inner
inner
{ display 1
capture noisily {
    display 2
} display 3
display _rc
* Before version 8 text may stand beside braces.
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
