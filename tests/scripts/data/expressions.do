* Expressions as a user writes them: grouping, versions, missing values, look-ups.
set obs 10
generate double x = _n
generate str5 s = "a" + string(_n)
assert x[3] == 3
assert -2^2 == -4
assert 8 - 4 + 2 == 6
* The looser operator first: 2*3/4 is 2*(3/4).
assert 2*3/4 == 1.5
* Each relational operator is a level of its own.
assert 3 == 3 == 1
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
* Must show: "nosuch not found" 111, "Unknown function nosuch()" 133, "invalid syntax" 198,
* "too few ')' or ']'" 132, "type mismatch" 109.
