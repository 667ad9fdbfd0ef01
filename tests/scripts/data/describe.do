* Would catch: a column that has slipped, a label cut wrongly, a count with the wrong limits, r() not set.
version 9.2
use data/groups
* 8 obs and 5 vars; both labels go on in a second line two columns further in; a * beside output and its
* note below; all labels begin under "variable label"; sorted by town  year.
_describe
assert r(N) == 8 & r(k) == 5 & r(width) == 8 + 2 + 8 + 1 + 12
assert r(changed) == 0
assert r(N_max) >= 8 & r(k_max) >= 5 & r(widthmax) >= 31
* Counts alone, with the order; then numbered, names cut to 8 columns; then whole names, of which the
* long one pushes the rest to the next line.
_describe, short
_describe, numbers
_describe, fullnames
* Two variables only: no counts and no order.
_describe year output
* A change is told at the end, and no file name and date once the data are dropped.
drop year
_describe, short
assert r(k) == 4 & r(changed) == 1
drop _all
_describe
display r(N) r(k) r(width)
capture noisily _describe, numbers fullnames
display _rc
capture noisily _describe using data/groups
display _rc
