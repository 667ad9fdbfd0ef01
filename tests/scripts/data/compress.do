* Would catch: a type too narrow or too wide, a pass out of order, values,
* missing codes, formats or sort order lost; a recast that loses in silence.
version 9.2
capture noisily compress
display _rc
set obs 4
generate double d = _n
generate str20 s = "abc"
generate long l = 32740 + _n
generate int i = 100 in 1/3
generate float f = 40000 + _n
generate double half = _n / 2
generate double big = 2147483620
generate double toobig = 2147483621
replace d = .q in 2
replace d = -127 in 3
generate str5 empty = ""
generate double allmiss = .z
generate byte b = _n
replace i = .
compress
debug check
assert d[1] == 1 & d[2] == .q & d[3] == -127 & d[4] == 4
assert s == "abc" & l == 32740 + _n & half == _n / 2 & allmiss == .z
assert big == 2147483620 & toobig == 2147483621 & f == 40000 + _n
_describe
* Nothing left to do; a list; no observations.
compress
replace s = "abcdef" in 2
generate double e = 101
compress s e
compress
drop s
drop in 1/4
compress
* recast: up is free, down counts what would change.
use data/groups, clear
generate double x = _n + .5
generate str3 t = "abc"
replace t = "a" in 1/3
recast float x
recast double x year
capture noisily recast int x year
display _rc
assert x[3] == 3.5
capture noisily recast str2 t
display _rc
recast str2 t, force
assert t[3] == "a" & t[4] == "ab"
recast int x, force
assert x[3] == 3
capture noisily recast str4 x
display _rc
capture noisily recast strange x
display _rc
capture noisily recast byte
display _rc
debug check
_describe
