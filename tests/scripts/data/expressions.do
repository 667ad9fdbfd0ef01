* Would catch: operands grouped wrongly, a rule of another version, missing
* values that count, a value looked up in a wrong place.
set obs 10
generate double x = _n
generate str5 s = "a" + string(_n)
assert x[3] == 3
assert -2^2 == -4
assert 8 - 4 + 2 == 6
* - binds closer than +, / closer than *: 49*(1/49) falls just below 1.
assert 8/4*2 == 4 & 49*1/49 < 1
* Each relational operator is a level of its own.
assert 3 == 3 == 1 & (1 == 3 > 2) == 1
assert (. == .a) == 0
version 7: assert . == .a
version 4: assert -2^2 == 4
assert x[0] == . & x[_N+1] == . & x[1.9] == 1
assert mod(-1, 3) == 2 & mod(5, 0) == .
assert s[2] == "a2" & s[11] == ""
assert 5/0 == . & missing(.a + 1)
assert 1.0x+3 == 8 & 1.8X-1 == .75
assert substr(s, 1, 1) == "a" & length(s) >= 2
generate double total = sum(x)
assert total[10] == 55
generate double before = x[_n-1]
assert before == _n - 1 if _n > 1
assert before[1] == .
count if x > 7
assert r(N) == 3
* Names: abbreviations, and what is not there.
assert tot[10] == 55
capture noisily assert nosuch > 1
display _rc
capture noisily display nosuch(1)
display _rc
capture noisily display x +
display _rc
capture noisily display (1
display _rc
capture noisily assert "a" - "b"
display _rc
