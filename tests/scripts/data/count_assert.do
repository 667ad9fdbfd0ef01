* Would catch: a wrong sample or stored result, contradictions miscounted.
set obs 10
generate x = _n
count
assert r(N) == 10
count if x > 6
assert r(N) == 4
count if x > 6 in 1/8
assert r(N) == 2
* A missing value is true.
count if cond(x == 1, ., 0)
assert r(N) == 1
capture noisily count x
display _rc
assert x > 0
capture noisily assert x > 3
assert _rc == 9
capture noisily assert x > 1
* One observation tested: no counts.
capture noisily assert x > 1 in 1
assert _rc == 9
capture noisily assert x > 1 if x > 100
assert _rc == 9
assert x > 1 if x > 100, null
capture assert x > 3, rc0
assert _rc == 0
* Stops at observation 4.
capture noisily assert x < 4, fast
assert _rc == 9
capture noisily assert
display _rc
