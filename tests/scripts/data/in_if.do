* Would catch: a range counted from the wrong end, a condition that misses
* the range, a qualifier taken twice.
version 9.2
use data/groups
list year in f
list year in l
list year in -1
list year in -2/l
quietly summarize year in f/l
assert r(N) == 8
list year if open != . in 4/5
list year in 4/5 if open != .
* A missing value is larger than any number.
list output if output > 9
list output if output > 9 & output < .
* No row is no output and no error.
list year if year > 2000
* Out of range, turned, not a number, twice: all 198.
capture noisily list year in 0
capture noisily list year in 9
capture noisily list year in 5/4
capture noisily list year in 1.5
capture noisily list year in x
capture noisily list year in 1 in 2
capture noisily list year if 1 if 1
capture noisily list year !
display _rc
capture noisily list year if nosuch == 1
display _rc
capture noisily list year if town
display _rc
capture noisily list year if
display _rc
