display "session started"
use data/types_lohi
describe
use data/groups, clear
list in 1/5
summarize
generate z = _n
replace z = 1000000 in 1
generate str s = "text" + string(_n)
replace s = "a longer text than there was"
by sector: generate m = _N
count if z > 2
drop if z == 3
keep in 1/4
drop z
set obs 5000
generate double w = ln(_n)
clear
display "session usable"
display "session usable"
