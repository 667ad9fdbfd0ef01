* Would catch: missing values counted, a wrong divisor, results of another
* variable, a string that fails.
version 9.2
use data/groups
summarize
* Six outputs, 10 20 5.5 6.5 7.5 -3.25: the sum is 46.25, that of the squares
* 100 + 400 + 30.25 + 42.25 + 56.25 + 10.5625 = 639.3125.
quietly summarize year output
assert r(N) == 6 & r(sum_w) == 6
assert r(sum) == 46.25
assert abs(r(mean) - 46.25/6) < 1e-14
assert abs(r(Var) - (639.3125 - 46.25^2/6)/5) < 1e-12
assert abs(r(sd) - sqrt(r(Var))) < 1e-14
assert r(min) == -3.25 & r(max) == 20
* One observation has a mean and no deviation.
summarize output in 1
assert r(sd) == . & r(mean) == 10
summarize output in 3
assert r(N) == 0 & r(mean) == .
summarize output if open == 1
assert r(N) == 3
* A failure leaves r() alone.
capture noisily summarize output, detail
capture noisily summarize output [aweight=open]
capture noisily summarize output [pweight=open]
display _rc
assert r(N) == 3
