* count and assert: samples, the stored result, the words of a contradiction and the options.
set obs 10
generate x = _n
* 10
count
assert r(N) == 10
* 4
count if x > 6
assert r(N) == 4
* 2
count if x > 6 in 1/8
assert r(N) == 2
* A missing value is true.
count if cond(x == 1, ., 0)
assert r(N) == 1
capture noisily count x
display _rc
assert x > 0
* "3 contradictions in 10 observations" and "assertion is false":
capture noisily assert x > 3
assert _rc == 9
* "1 contradiction in 10 observations":
capture noisily assert x > 1
* One observation tested: only "assertion is false".
capture noisily assert x > 1 in 1
assert _rc == 9
* "(null assertion)":
capture noisily assert x > 1 if x > 100
assert _rc == 9
assert x > 1 if x > 100, null
capture assert x > 3, rc0
assert _rc == 0
* Stops at observation 4: "1 contradiction in 4 observations".
capture noisily assert x < 4, fast
assert _rc == 9
capture noisily assert
display _rc
* count with a list is 101; assert without an expression 198.
