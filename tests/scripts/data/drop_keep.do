* Would catch: the wrong rows gone, a count that lies, sort order or hidden
* marks left behind, by not refused.
version 9.2
use data/groups
drop if output >= .
assert _N == 6 & output[3] == 5.5
drop if output > 1000
drop in 1
assert _N == 5 & output[1] == 20 & output[5] == -3.25
* The condition sees the data as they were.
use data/groups, clear
drop if _n > 1 & year == year[_n-1]
assert _N == 7 & year[4] == 1990 & year[5] == 1991
keep in 2/-2
assert _N == 5 & year[1] == 1991
keep if town == "Borg"
assert _N == 3
* Group by group: the first row of each town, one message for all.
use data/groups, clear
by town: keep if _n == 1
assert _N == 3 & town[1] == "Asse" & town[2] == "Borg" & town[3] == "Cork"
use data/groups, clear
by town: drop if _n == _N
assert _N == 5
capture noisily _describe _delete
display _rc
* Variables: a list, the rest, all. The order goes with its first key.
keep town output open
drop town
_describe
keep _all
assert _N == 5
* by with a list or a range, a list with a condition, nothing at all.
use data/groups, clear
capture noisily by town: drop year
capture noisily by town: drop in 1
capture noisily drop year if open == 1
capture noisily keep
display _rc
assert _N == 8
drop _all
display _N
