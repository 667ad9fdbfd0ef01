*! args: , nostop
* Would catch: a false branch that runs or unbalances what follows, an else
* tied to the wrong if, a missing value that counts as false.
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
* The last if of branch is false each time: its else runs after either if.
branch a
branch b
branch c
if 0 quietly {
    nosuch
}
if 1 else display 1
if 1
if "a" display 1
