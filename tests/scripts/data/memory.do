*! switches: /m1
* Would catch: a size that is taken wrong, data lost to a setting, lines or
* macros that break when their limits change, a partition that loses data.
version 9.2
display c(memory) " " c(maxvar)
quietly memory
display r(M_total) " " r(M_data) " " r(M_dyn) " " r(size_ptr) " " r(k) " " r(width)
display r(matsize) == c(matsize) & r(adosize) == c(adosize) & r(M_oh) > 0 & r(M_dm) > 0
set memory 2m
display c(memory)
set memory 3000
display c(memory)
set memory 4000 k
display c(memory)
set memory 204800b
display c(memory)
capture noisily set memory 99k
display _rc
capture noisily set memory 0
display _rc
capture noisily set memory -5
display _rc
capture noisily set memory abc
display _rc
capture noisily set memory 5x
display _rc
capture noisily set memory 
display _rc
capture noisily set memory 99999999999999999999
display _rc
capture noisily set memory 999999g
display _rc
capture noisily set memory 2m, forever
display _rc
display c(memory)
* Far more than any machine has, and nothing of it touched.
set memory 4096g
set obs 10
generate x = _n
capture noisily set memory 10m
display _rc " " c(memory)
capture noisily set maxvar 6000
display _rc " " c(maxvar)
assert x == _n
drop _all
set memory 1m
* Limits of lines and macros follow maxvar.
local kept "stays"
capture noisily set maxvar 2047
display _rc
capture noisily set maxvar 32768
display _rc
capture noisily set maxvar many
display _rc " " c(maxvar)
set maxvar 32767
display c(maxvar) " " c(macrolen) " " c(cmdlen) " " c(max_width_theory)
set maxvar 2048
display c(maxvar) " " c(macrolen) " " c(cmdlen)
display "`kept'"
set matsize 11000
display c(matsize)
capture noisily set matsize 9
capture noisily set matsize 11001
display _rc " " c(matsize)
set virtual on
display c(virtual)
set virtual off
* The partition by hand.
set obs 100
generate double d = _n
generate str9 s = "text"
quietly memory
local w = r(w_cur)
_repart width + 10
quietly memory
assert r(w_cur) == `w' + 10 & r(N_cur) < r(N_curmax) + 1
_repart width 18
quietly memory
assert r(w_cur) == 18 & r(width) == 17 & r(k) == 2
_repart obs 5000
quietly memory
assert r(N_cur) >= 5000
_repart obs + 100
quietly memory
assert r(N_cur) >= 5100
assert d == _n & s == "text"
debug check
capture quietly _repart width 8
display _rc
capture quietly _repart width 100000
display _rc
capture quietly _repart width 20000
display _rc
capture quietly _repart obs 100000000
display _rc
capture noisily _repart obs many
display _rc
capture noisily _repart rows 5
display _rc
capture noisily _repart width 20 5
display _rc
assert d == _n & s == "text"
quietly memory
assert r(n_repart) > 3
