*! args: , nostop
// Stored text that loses blanks in strings, macros expanded at definition, a clash that is not seen,
// a program dropped while it runs.
program hello
    display "a   b"   `"c  "d""'
    display "`1'-`2'"
end
hello x "y z"
capture program define hello, rclass
display _rc
// 110
program define kinds, rclass eclass
// "may not be combined", r(184) under nostop
program sorted, sortpreserve byable(sometimes)
// "option byable() incorrectly specified", 198
program odd, nosuch
// "option nosuch not allowed", 198
program 9bad
// "9bad is an invalid command name", 198
program list hello
program drop hello
capture program drop hello
display _rc
// 111
program drop 1x
// "'1x' found where name or _all expected", 198
program drop a.b
// "subprograms not allowed:  a.b", 198
program suicide
    capture program drop suicide
    display _rc
    display "still here"
end
suicide
// 310, still here
program recurse
    if `1' == 0 exit 7
    recurse `=`1'-1'
end
capture recurse 5
display _rc
// 7
program nested
    recurse 100
end
nested
// the text of 1000, r(1000)
program list nosuch
// "nosuch not found", 111
