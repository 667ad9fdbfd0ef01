* replace: what counts as a change, promotion of the type, and losses without it.
set obs 6
generate byte b = _n
* "(0 real changes made)":
replace b = b
* "(1 real change made)":
replace b = 7 in 1
* "(2 real changes made, 1 to missing)":
replace b = cond(_n == 1, ., 8) in 1/2
* "b was byte now int" and "(1 real change made)":
replace b = 200 in 3
assert b[3] == 200 & b[2] == 8
* "b was int now long":
replace b = 40000 in 3
* "b was long now double": a long does not become a float.
replace b = .5 in 3
assert b[3] == .5
generate int i = _n
* "(1 real change made)" and "(1 value truncated due to storage type)":
replace i = 9.7 in 1, nopromote
assert i[1] == 9
* "(1 real change made, 1 to missing)" and "(1 value changed to missing due to storage type)":
replace i = 1e6 in 2, nopromote
assert i[2] == .
generate float f = 1
* The float nearest to .1 counts once, and not again:
replace f = .1
replace f = .1
* "s was str1 now str6" and "(6 real changes made)":
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
* Must show the codes 109, 103, 111, 111, 198.
