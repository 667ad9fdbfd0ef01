* Would catch: a wrong type, sample or count of missing values, a string cut,
* a failure that leaves a variable behind.
set obs 6
generate x = _n
generate byte b = cond(_n == 3, ., _n)
generate y = x if mod(_n, 2)
generate long z = x in 2/3
assert z == . if _n < 2 | _n > 3
assert z == x in 2/3
* Out of range for a byte: stored as missing, and counted as such.
generate byte big = 1000
assert big == .
generate str t = "abc" if _n > 4
assert t == "" in 1/4
assert t == "abc" in 5/6
generate auto = "x" + string(10^_n)
assert length(auto[6]) == 8
generate str2 cut = "abcdef"
assert cut == "ab"
generate double chain = cond(_n == 1, 1, 2*chain[_n-1])
assert chain[6] == 32
capture noisily generate x = 1
display _rc
capture noisily generate byte w = "text"
display _rc
capture noisily generate w = x + nothing
display _rc
capture noisily generate w v = 1
display _rc
capture noisily generate w
display _rc
capture noisily generate if = 1
display _rc
capture assert w == 1
assert _rc == 111
* By groups, g is 0 1 1: the count shows once, at the last.
use data/small_lohi, clear
by g: generate double first = cond(_n == 1, ., x[1])
by g: generate double running = sum(1)
by g: assert running == _n
by g: generate byte size = _N
assert size == cond(g == 0, 1, 2)
by g: replace size = 0 if _n == _N
capture noisily by g: generate double bad = nothing
display _rc
capture assert bad == 1
assert _rc == 111
