* Would catch: copies in the wrong place or number, a message that miscounts, a
* condition that sees the copies, a refusal that changes something.
version 9.2
set obs 8
generate n = _n - 3
generate id = _n
replace n = . in 8
replace n = 2.4 in 7
replace n = 1.5 in 6
list
expand =n
debug check
list
assert _N == 11 & id[9] == 5 & id[10] == 6 & id[11] == 7
* Only where it is asked for; one of each.
expand =_N if id == 1 in 1/3
assert _N == 21
assert id == 1 in 12/21
expand =cond(_n == 1, 0, cond(_n == 2, -1, cond(_n == 3, ., cond(_n == 4, 1.2, 2)))) in 1/5
assert _N == 22
expand =1
capture noisily expand =3e9
display _rc " " _N
capture noisily expand =500000
display _rc " " _N
capture noisily expand ="a"
display _rc
capture noisily expand 2
display _rc
capture noisily expand
display _rc
* The order of the observations is no longer one; a marked change.
use data/groups, clear
display "`: sortedby' " c(changed)
expand =2
display "`: sortedby' " c(changed)
assert _N == 16 & town[9] == town[1] & output[16] == output[8]
