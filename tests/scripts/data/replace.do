* Would catch: changes miscounted, a value lost for want of a wider type.
set obs 6
generate byte b = _n
replace b = b
replace b = 7 in 1
replace b = cond(_n == 1, ., 8) in 1/2
replace b = 200 in 3
assert b[3] == 200 & b[2] == 8
replace b = 40000 in 3
* A long does not become a float.
replace b = .5 in 3
assert b[3] == .5
generate int i = _n
replace i = 9.7 in 1, nopromote
assert i[1] == 9
replace i = 1e6 in 2, nopromote
assert i[2] == .
generate float f = 1
* The float nearest to .1 counts once, and not again:
replace f = .1
replace f = .1
generate str1 s = "a"
replace s = s + "bcdef"
assert s == "abcdef"
* A value that stands on the one before it.
generate double run = 1
replace run = run[_n-1] * 2 if _n > 1
assert run[6] == 32
capture noisily replace s = 1
display _rc
capture noisily replace i f = 1
display _rc
capture noisily replace nothing = 1
display _rc
capture noisily replace i = nothing
display _rc
capture noisily replace i = 1, nosuch
display _rc
assert i[3] == 3
