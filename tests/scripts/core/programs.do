*! args: , nostop
* Would catch: stored text that loses blanks in strings, macros expanded at
* definition, a clash that is not seen, a program dropped while it runs.
program hello
    display "a   b"   `"c  "d""'
    display "`1'-`2'"
end
hello x "y z"
capture program define hello, rclass
display _rc
program define kinds, rclass eclass
program sorted, sortpreserve byable(sometimes)
program odd, nosuch
program 9bad
program list hello
program drop hello
capture program drop hello
display _rc
program drop 1x
program drop a.b
program suicide
    capture program drop suicide
    display _rc
    display "still here"
end
suicide
program recurse
    if `1' == 0 exit 7
    recurse `=`1'-1'
end
capture recurse 5
display _rc
program nested
    recurse 100
end
nested
program list nosuch
