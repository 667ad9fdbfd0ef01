* Would catch: a sample that keeps what if, in, a weight or a missing value leaves out, or that a
* failure leaves behind.
version 9.2
set obs 6
generate x = _n
replace x = . in 3
generate w = 7 - _n
replace w = 0 in 2
generate byte neg = -(_n == 6)
generate half = 1.5
generate str2 s = cond(_n == 5, "", "a")
program sampled
    local varlist "x s"
    local if "if _n > 1"
    local in "in 1/5"
    local weight "aweight"
    local exp "= w"
    marksample touse `0'
    quietly count if `touse'
    markin if `touse', name(where)
    display r(N) ": `where'"
end
sampled
sampled , strok
sampled , strok zeroweight
sampled , novarlist
mark m1 [fw=w] if x > 0
mark m2 [iw=neg]
mark m3 [w=w], zeroweight
* Each is refused, and makes no variable.
capture noisily mark m4 [fw=half]
display _rc
capture noisily mark m4 [fw=neg]
display _rc
capture noisily mark m4 [xw=neg]
capture noisily mark m4 [aw=neg
capture noisily mark m4 [aw neg]
capture noisily mark m4 [aw=x] [aw=x]
capture noisily mark x
capture noisily mark 3x
capture noisily mark
capture noisily mark m4, nosuch
capture noisily summarize x [pw=w]
display _rc
capture noisily list m4
markout m3 x
list m1 m2 m3
capture noisily markout x
capture noisily markout m1 L.x
markout m1 s
assert m1 == 0
markin if m2
display "`in'"
markin if 0, name(none)
display "`none'"
* In a byable program the group counts, unless noby is given.
program grouped, byable(recall)
    marksample touse `0'
    quietly count if `touse'
    display r(N)
end
drop _all
use data/groups
by town: grouped
by town: grouped, noby
