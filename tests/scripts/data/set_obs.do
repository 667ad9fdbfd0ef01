* Would catch: new rows that hold what was there before, rows lost, a failure
* that changes something, an order that is dropped.
set obs 3
generate x = _n
generate str2 s = "ab"
drop in 3
set obs 5
assert x[2] == 2 & s[2] == "ab"
assert x == . & s == "" in 3/5
assert x[3] == . & s[3] == ""
set obs 5
capture set obs 4
display _rc " " _N
capture noisily set obs many
display _rc
capture set obs 2000000000
display _rc " " _N
capture noisily set obs
display _rc
* Every type begins as missing, and what was there stays.
generate byte b = 1
generate int i = 1
generate long l = 1
generate double d = 1
set obs 1000
assert b == . & i == . & l == . & d == . & x == . in 6/1000
assert b == 1 & i == 1 & l == 1 & d == 1 in 1/5
use data/groups, clear
set obs 9
assert town[9] == "" & open[9] == .
_describe, short
