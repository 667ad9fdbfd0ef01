* Would catch: an item that eats the next, a count off by one, a format that
* stays in force, a failure that loses what was printed before it.
display
display 1 2 3
display 1, 2,, 3
display "a" _skip(3) "b" _skip "c" _skip(-2) "d"
display "a" _column(5) "b" _col(3) "c"
display _dup(3) "ab" _dup(2) 7 8
display _dup(2) _dup(2) "x" _dup(0) "y"
display "a" _newline(2) "b" _n "c"
display _char(65) _char(123) _quote "q" _quote
display "a" + "b" " " "a" == "a" " " 2 > 1
display %8.2f 2.5 3 %5.1f -1 "|"
display %6s "abc" "|" %-6s "abc" "|" %~6s "abc" "|" %2s "abc"
display 1/3 " " -1/3 " " 10^10 " " 99999999 " " 1e-7
display . .a " " .z+1
* Styles tell what quietly hides.
quietly display as text "hidden" as error "shown" in red " too"
quietly display as result "hidden"
program continued
    display "one" _continue
    display " two"
    version 6: display "{bf:as it stands}"
    display "literal {bf:from} " _asis "{bf:here}"
end
continued
local t : display %9.2f 1/3 "x" _skip(2) "y" _dup(2) "z"
display "|`t'|"
capture noisily display _skip(401)
capture noisily display _skip(two)
capture noisily display _char(0)
capture noisily display _dup(-1) "x"
capture noisily display _newline(-1)
capture noisily display as purple "x"
display _rc
capture noisily display %9.0q 1
display _rc
capture noisily display "before" nosuch
display _rc
* A whole number is the expression only if nothing goes on with it.
display 007 " " 1.50, 2,,3 " " 2 -1 " " 5 > 4 " " 123456789012345 %6.1f 3 "|"
display "a" -1
* In a macro's text only some items stand, and a text too long is no text.
local t : display "a" _column(5) "b" _char(65) %5.1f 2.25 %-3s "q" "|"
display "`t'|"
capture noisily local t : display _dup(400) _dup(400) "abcdef"
display _rc
capture noisily local t : display _newline
capture noisily local t : display as text 1
capture noisily local t : display 1, 2
capture noisily display _request
capture noisily display _request(2x)
version 6: display "abc" _column(6) "x" _column(2) "y"
