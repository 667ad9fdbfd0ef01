* Would catch: a column that has slipped, a label cut wrongly, wrong limits,
* r() not set.
version 9.2
use data/groups
_describe
assert r(N) == 8 & r(k) == 5 & r(width) == 8 + 2 + 8 + 1 + 12
assert r(changed) == 0
assert r(N_max) >= 8 & r(k_max) >= 5 & r(widthmax) >= 31
_describe, short
_describe, numbers
_describe, fullnames
_describe year output
drop year
_describe, short
assert r(k) == 4 & r(changed) == 1
drop _all
_describe
display r(N) r(k) r(width)
capture noisily _describe, numbers fullnames
display _rc
_describe using data/groups, short
use data/groups, clear
drop in 1
* Narrow lines have the labels below; wider ones have them whole. They break at blanks.
set linesize 40
_describe
set linesize 78
_describe output remark_of_the_clerk
_describe remark_of_the_clerk, numbers
set linesize 120
_describe, numbers
_describe using data/groups
