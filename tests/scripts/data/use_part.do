* Would catch: another variable's cells, rows beyond the range, a condition
* asked about the wrong row, labels of variables that stayed behind, sort keys
* behind one that is not there.
version 9.2
use s x using data/small_hilo
list
describe
display "|`_dta[k]'|"
* The key stays while the variable does; its label comes with it.
use g using data/small_lohi in 2/l
list
describe
* Rows go by the condition and the range, which ends within the file.
use data/blocks_hilo if g == 1 & x > 1 in 5/2100
assert g == 1 & x > 1
count
assert x[1] == 1.1 & s[1] == "111" & x[_N] == 2099 * 0.1
* A row that fails is overwritten: the first that holds is the first.
use x s if x > 100 & x > x[_n-1] | _n == 1 using data/blocks_lohi in 1001/1010
list
* Text in a condition, and the values of the file's own labels.
use if s == "abc" | g == "yes":gl using data/small_lohi
list
use if s == "abc" using data/small_lohi, nolabel
list g
* Old numbers and names with dots.
use a* l using data/dots_105
describe
list
describe using data/old_102
describe using data/small_hilo, short detail
describe using data/types_lohi, varlist
display "|`r(varlist)'|`r(sortlist)'|"
display r(N) " " r(k) " " r(width)
capture noisily describe using data/cut.dta
capture noisily describe using data/xp
display _rc
