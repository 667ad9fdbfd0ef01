* Would catch: cells that do not follow their variable, duplicates, sort keys
* and labels left behind, `changed` set for nothing, a refused name that stays.
version 9.2
set obs 3
generate byte a = _n
generate str3 b = "b" + string(_n)
generate double c = -_n
generate int d = 10 * _n
generate str1 e = "e"
order d b d
debug check
assert d == 10 * _n & b == "b" + string(_n) & a == _n & c == -_n & e == "e"
_describe
move d c
move e d
_describe
assert d == 10 * _n & b == "b" + string(_n) & a == _n & c == -_n & e == "e"
debug check
capture noisily move a
display _rc
capture noisily move a b c
display _rc
capture noisily order
display _rc
capture noisily order a nosuch
display _rc
* The sort order and what hangs on a variable go with it.
use data/groups, clear
order output open
display "`: sortedby'"
rename town city
display "`: sortedby' `: variable label output'"
rename output out
display "`: variable label out'"
_describe
capture noisily rename year open
display _rc
capture noisily rename year 2year
display _rc
capture noisily rename year str5
display _rc
capture noisily rename year
display _rc
capture noisily rename nosuch x
display _rc
capture noisily rename year x y
display _rc
assert year[1] == 1990
debug check
* Moving nothing is no change; a name with an underscore neither.
use data/groups, clear
generate _x = 1
move year year
order town year
display c(changed)
rename _x _y
display c(changed)
rename _y z
display c(changed)
