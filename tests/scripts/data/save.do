* Would catch: a file written over unasked, a missing value that comes back as
* another, labels written that should not be, a failed save that counts as one.
version 9.2
capture noisily save
display _rc
capture noisily save nothing
display _rc
save nothing, emptyok
use nothing
use data/small_lohi
generate str130 wide = "t"
capture noisily save three
display "|$S_FN|"
capture noisily save three
display _rc
replace x = 7 in 1
save, replace
use three, clear
assert x[1] == 7 & x[2] == .b & g[3] == 1 & s[3] == "" & wide == "t"
list g
* What an old format cannot hold is said before anything is written.
capture noisily save three, oldformat midrange replace
display _rc
use data/long_label, clear
use data/types_lohi, clear
capture noisily save no/such/place
display _rc
capture noisily save data, replace
display _rc
capture noisily save x, replace sideways
display _rc
assert _N == 30
* Value labels: those in use, none, all.
save used
save none, nolabel
save all, orphans
use none, clear
list b in 30
* Old formats know one missing value, and the data go with what was lost.
use used, clear
save old, oldformat
display _N " |$S_FN|"
use old
assert b[27] == . & i[27] == . & l[27] == . & f[27] == . & d[27] == .
assert b[29] == 100 & l[28] == -2147483647
list b in 30
