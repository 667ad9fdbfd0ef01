* Would catch: operators that count observations instead of periods, that leave their panel or group,
* or that work on data that are not a time series.
version 9.2
set obs 8
generate byte id = 1 + (_n > 5)
generate int t = real(word("1 2 3 5 6 2 3 5", _n))
generate x = real(word("10 13 11 20 26 1 4 9", _n))
generate str1 s = "a"
capture noisily generate y = L.x
display _rc
capture noisily list D.x
display _rc
tsset id t
* By hand: id 1 has the periods 1 2 3 5 6, id 2 has 2 3 5.
list id t x L.x l2.x F.x D.x D2.x, noobs
list S2.x LD.x DS2.x F2L0.x, noobs
generate double d2 = D2.x
assert d2 == cond(_n == 3, -5, .)
generate double sd = F2S2D.x if id == 1
assert sd == .
list id L(0/2).x F.x in 4/6
list s2.t-x in 3
summarize L.x x D.x
summarize L.x if id == 2
assert L0.x == x
assert LF.x == x
assert L2D.x == L2.x - L3.x
count if D.x > 0 & D.x < .
display F.x, L.x, D2F2.x
by id: generate z = L.x
assert z == L.x
by id t: generate none = L.x
assert none == .
replace z = L.z + 1 if id == 1
tsrevar L.x D.x L.x id
display wordcount("`r(varlist)'"), word("`r(varlist)'", 1) == word("`r(varlist)'", 3)
local last = word("`r(varlist)'", 2)
assert `last' == D.x
tsrevar L.x D.x id, list
display "`r(varlist)'"
capture noisily tsrevar x, list substitute
* What operators refuse.
capture noisily list L.s
display _rc
capture noisily list L.nosuch
capture noisily list L-1.x
capture noisily list L(-1/1).x
capture noisily list L(1/).x
capture noisily list L(1/101).x
capture noisily list D21.x
capture noisily list L(1/50).x L(51/101).x
display _rc
capture noisily list S1S2S3S4S5S6S7S8S9.x
capture noisily list L123456D10S12345S1234.x
capture noisily list Lx.x
capture noisily display L.nosuch
capture noisily display L.s
capture noisily drop L.x
* A time may not come twice, and must be whole and in order.
generate u = t
replace u = 3 in 2
capture noisily tsset id u
display _rc
tsset id t, monthly
display "`r(timevar)' `r(panelvar)' `r(unit)' `r(unit1)' `r(tmins)'", r(tmax), r(imax)
replace u = 2.5 in 2
capture noisily tsset id u
capture noisily tsset s
capture noisily tsset id t x
replace t = 9 in 1
capture noisily list L.x
display _rc
tsset, clear
capture noisily tsset
drop if id == 2
replace t = 1990 + _n
tsset t, yearly
* By hand: (20 - 13) - (11 - 10) and (26 - 11) - (20 - 13).
generate double ds = DS2.x
assert ds == cond(t == 1994, 6, cond(t == 1995, 8, .))
* What tsrevar makes goes with the program that asked for it.
program temporaries
    tsrevar L.x
    display c(k)
end
temporaries
display c(k)
* tin() has its ends, twithin() has not, and an end left out is open. By hand: six quarters, less two.
drop _all
quietly set obs 40
generate t = _n - 1
tsset t, quarterly
count if tin(1962q1, 1963q2)
assert r(N) == 6
count if twithin(1962q1, 1963q2)
assert r(N) == 4
count if tin(, 1960q3) | tin(1969q1, )
assert r(N) == 7
