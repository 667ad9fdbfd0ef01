* Would catch: an operator in another place of the order, a sign taken for an
* operator, a rule of another version, a missing value that counts otherwise.
* + is looser than -, * looser than /: the rounding shows it.
set obs 1
assert .1 + .2 - .3 == .1 + (.2 - .3) & .1 + .2 - .3 != (.1 + .2) - .3
assert 49*1/49 == 49*(1/49) & 49*1/49 != (49*1)/49
assert 2 - 3 - 4 == -5 & 64/4/2 == 8 & 2^3^2 == 64
* Each relation is a level of its own: == loosest, ~= tightest.
assert (1 == 1 == 1) == 1 & (3 == 3 == 1) == 1 & (2 > 1 == 1) == 1
assert (1 == 3 > 2) == 1 & (5 < 4 > 3) == 0 & (3 >= 2 <= 0) == 1
assert (0 | 1 & 0) == 0 & (1 | 0 & 0) == 1
* Signs.
assert -2^2 == -4 & 2^-1 == .5 & -2^-2 == -.25 & 2*-3 == -6 & 5 - -2 == 7
assert --2 == 2 & !0 == 1 & !3 == 0 & !. == 0 & ~(1 == 2) & !2^2 == 0
assert 1e+3 == 1000 & 1d-2 == .01 & 1.8X-1 == .75 & 1e1-1 == 9
version 4: assert -2^2 == 4 & 2^-1 == .5 & !2^2 == 0
capture noisily display 1 ++ 2
capture noisily display 1 */ 2
display _rc
* Missing values: true, above every number, all the same below version 8.
assert (. | 0) == 1 & (. & 1) == 1 & . > 1e300 & .b > .a & (. == .a) == 0
version 7: assert . == .a & (.b > .a) == 0 & .z >= .
assert .a + 1 == . & -.a == . & 5/0 == . & .a*0 == . & 0^.a == . & (-8)^(1/3) == .
* An overflow anywhere makes the whole result missing.
display (8e307 + 8e307) (8e307*8e307 > 1) cond(1, 2, 8e307*8e307) max(., 3)
assert cond(., 1, 2) == 1 & cond(., 1, 2, 3) == 3 & missing("", 1, 2) & !missing("a", 1)
* Old functions, and the old generator behind the name of the new one.
capture noisily display invt(1, .5)
display _rc
version 3.1: display %12.0f uniform()*2147483648
* What is looked up when compiled.
capture noisily display _b[x]
capture noisily display [eq]_se[x]
display _rc
display r(nosuch) " " e(sample) " " c(namelen)
capture noisily display c(nosuch)
display _rc
generate byte none = "none":nosuch
* Limits.
generate y = sum(1) + sum(1) + sum(1) + sum(1) + sum(1)
capture noisily display sum(1) + sum(1) + sum(1) + sum(1) + sum(1) + sum(1)
display _rc
