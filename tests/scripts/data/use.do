* Would catch: a value, label, characteristic, sort order or name of the file
* that does not come in place of what was there.
version 9.2
* The label of the data shows. Both byte orders hold the same values.
use data/small_lohi
assert _N == 3
assert x[1] == 1.5 & x[2] == .b & x[3] == -2
assert s[1] == "abc" & s[2] == "d" & s[3] == ""
use data/small_hilo.dta
assert x[1] == 1.5 & x[2] == .b & x[3] == -2 & g[3] == 1
list
* The stamp keeps its first blank.
display "|$S_FN|$S_FNDATE|"
describe
* Missing values of every type in rows 1 to 27, the limits in 28 and 29.
use data/types_hilo
assert _N == 30
assert b[1] == . & i[1] == . & l[1] == . & f[1] == . & d[1] == .
assert b[27] == .z & i[27] == .z & l[27] == .z & f[27] == .z & d[27] == .z
assert b[28] == -127 & i[28] == -32767 & l[28] == -2147483647
assert b[29] == 100 & i[29] == 32740 & l[29] == 2147483620
assert s7[28] == "seven77" & s7[30] != "" & s1[29] == " "
assert name_of_thirty_two_characters_xx[27] == 26
* More rows than one block holds.
use data/blocks_hilo
assert _N == 2100
assert x == (_n - 1) * 0.1
assert g == mod(_n - 1, 2)
use data/small_lohi, nolabel
list g
* No rows, then no variables.
use data/no_rows
count
use data/no_variables
display _N
* using may stand in front; clear and replace both let data be lost.
use using data/small_lohi
generate y = 1
use using data/small_lohi, clear
generate y = 1
use data/small_lohi, replace
assert _N == 3
