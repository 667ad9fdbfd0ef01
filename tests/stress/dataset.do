display "session started"
use data/types_lohi
describe
use data/blocks_hilo, clear
use data/groups, clear
list in 1/5
list in 1/2, clean noobs
summarize
summarize z* if _n > 1
generate z = _n
replace z = 1000000 in 1
replace z = 1e12 in 2
generate str s = "text" + string(_n)
replace s = "a longer text than there was" in 2
generate double t = sqrt(z) * ln(z + 1) if mod(_n, 2)
by town: generate m = _N
by town: summarize z
count if z > 2 & s != ""
assert z > 0
drop if z == 3
keep in 1/4
drop z
generate x1 = 1
generate x2 = 2
generate x3 = 3
drop x1-x3
set obs 5000
generate double w = ln(_n)
save stressed, replace
preserve
use data/old_110, clear
save stressed, replace oldformat
restore, preserve
use x g if g == 1 using stressed, clear
restore
save stressed, replace
use stressed, clear
use data/bad_table, clear
use data/cut, clear
use data/small_hilo
clear
set memory 2m
set maxvar 3000
set matsize 500
set maxvar 5000
set obs 60
generate id = _n
generate double c = mod(_n, 7)
generate str20 t = "text" + string(_n)
generate long n = mod(_n, 3)
order t n
move n c
expand =n + 1 if id > 10
debug check
compress
debug check
rename id number
rename t a_new_name
debug check
debug recast double n number
debug recast str3 a_new_name, force
debug check
memory
_repart width + 40
_repart obs 2000
drop if n == 1
debug check
keep c n
debug check
assert n >= 0
clear
display "session usable"
display "session usable"
