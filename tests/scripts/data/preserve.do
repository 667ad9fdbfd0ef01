* Would catch: something of the data that does not come back, a state that one
* level takes from another, data lost when a program fails or is left early.
version 9.2
use data/types_lohi
generate long extra = _n
global S_FNDATE "any text"
preserve
capture noisily preserve
display _rc
replace extra = 0
drop b-d
restore
capture noisily restore
display _rc
describe
assert extra == _n & _N == 30
assert b == .z in 27
display "`_dta[note1]' |$S_FN|$S_FNDATE| " c(changed)
* A file without changes comes back as one, and its unused labels with it.
use data/types_lohi, clear
preserve
use data/small_hilo, clear
restore
display c(changed) " " c(filename)
count if b == "yes":unused
* Twice from one state; forgotten.
preserve
keep in 1/5
restore, preserve
assert _N == 30
drop _all
restore, pres
restore, not
assert _N == 30
capture noisily restore, not
display _rc
capture noisily restore, not preserve
display _rc
* With the option the data stay as they are; what is known of them comes back.
preserve, ch
generate extra = 1
drop extra
display c(changed)
restore
display c(changed) " " _N
* No data; rows without variables.
clear
preserve
use data/small_hilo
restore
display _N " " c(k) " |$S_FN|"
set obs 7
preserve
drop _all
restore
display _N " " c(k) " " c(changed)
* Each level has its own; what a level leaves behind comes back at its end,
* however it ends. An include is no level.
program inner
    preserve
    drop _all
    set obs 3
    outermost `0'
end
program outermost
    preserve
    use data/small_hilo, clear
    display "deepest: " _N
    `0'
    restore
    display "back: " _N
end
clear
set obs 9
preserve
set obs 10
inner
display _N
capture noisily inner error 459
display _rc " " _N
inner exit
display _N
capture inner exit 7
display _rc " " _N
restore
display _N
* A program that restores, or forgets, has nothing left to come back.
program forgets
    preserve
    set obs 20
    restore, not
end
forgets
display _N
* The memory set meanwhile does not stay, and rows that left none free fit again.
clear
set memory 100k
set obs 3656
generate byte x = mod(_n, 100)
_repart width 20
quietly memory
display r(N_cur)
preserve
clear
set memory 20m
set maxvar 3000
set obs 400000
restore
assert x == mod(_n, 100) & _N == 3656
display c(memory) " " c(maxvar)
* A file in an older format, and the data as they were, with what it cannot hold.
clear
set memory 10m
use data/types_lohi
generate extra = 1
saveold "old, copy"
display c(changed) " " _N " |$S_FN|"
assert b == .z in 27
capture noisily saveold "old, copy"
display _rc " " _N
saveold old,replace
capture noisily saveold, nolabel
display _rc " " _N
use "old, copy", clear
assert b == . in 27
assert extra == 1
