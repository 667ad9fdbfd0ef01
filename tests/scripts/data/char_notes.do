* Would catch: characteristics cut, kept or quoted wrongly, moved over others, and
* notes under wrong numbers.
version 9.2
set obs 2
generate price = _n
generate weight = _n
generate list = _n
char pri[unit] dollars a piece
char define price[odd] `"say "when" now"'
char price[both] "a" and "b"
char list[x] "of a variable called list"
char _dta[origin] "made here"
char list price[unit]
char list
assert "`r(owners)'" == "_dta price list"
assert `"`price[both]'"' == `""a" and "b""'
char price[unit] ""
char price[nothing]
assert `"`: char price[]'"' == "both odd"
capture noisily char nobody[x] text
display _rc
capture noisily char price[1x] text
display _rc
capture noisily char price text
display _rc
* The longest text; one byte more is cut.
local text "0123456789"
local i 0
while `i' < 13 {
    local ++i
    local text "`text'`text'"
}
char weight[long] `text'
local kept : char weight[long]
assert `: length local kept' == 67783
char weight[long]
* rename: over a characteristic of the same name only when told.
char weight[odd] "mine"
capture noisily char rename price weight
display _rc
assert `"`: char price[]' `: char weight[odd]'"' == "both odd mine"
char rename price weight, replace
assert `"`: char price[]'"' == "" & `"`: char weight[]'"' == "both odd"
assert `"`: char weight[odd]'"' == `"say "when" now"'
* Notes.
notes: about the data
notes price: first: "with quotes"
notes price : second {it:as typed}
notes price:third
notes weight: made TS not TSX
local made : char weight[note1]
assert substr("`made'", 1, 16) == "made " + substr("`c(current_date)'", 1, 11)
char weight[note1] "made at some time"
notes
notes list price in 2/l
notes price _dta in 1
notes drop price in 2
assert "`: char price[note0]'" == "3"
notes renumber price
notes price
notes drop price in 2
assert "`: char price[note0]'" == "1"
notes price: another
notes we-li
capture noisily notes drop
display _rc
capture noisily notes price in 3/2
display _rc
capture noisily notes nobody: text
display _rc
capture noisily notes price:
display _rc
notes drop _all
notes drop _dta
notes
assert "`: char price[]'" == ""
* gettoken, which notes stand on.
local c "one, (two three) four"
gettoken a b : c, parse(", ")
display "|`a'|`b'|"
gettoken a b : b, parse(", ")
gettoken a b : b, match(p)
display "|`a'|`b'|`p'|"
gettoken a b : b, match(p)
gettoken (global) G b : b
display "|`a'|`b'|$G|`p'|"
local c "f(a, b) c"
gettoken a c : c, bind
display "|`a'|`c'|"
local c `""a b" c"'
gettoken a b : c, quotes
display `"|`a'|`b'|"'
local c "(a"
capture noisily gettoken a b : c, match(p)
display _rc
