* Would catch: a bad file with the words and code of another, data lost for a
* damaged one.
version 9.2
use data/small_lohi
generate kept = _n
capture noisily use data/types_lohi
display _rc
capture noisily use data/small_lohi, clear sideways
display _rc
capture noisily use data/small_lohi sideways, clear
display _rc
capture noisily use data/not_there, clear
display _rc
capture noisily use data/../., clear
display _rc
capture noisily use data/xp, clear
display _rc
capture noisily use data/no_dataset.dta, clear
display _rc
capture noisily use data/later, clear
display _rc
capture noisily use http://example.org/x, clear
display _rc
capture noisily use ftp://example.org/x, clear
display _rc
* Parts of files: names, conditions and ranges are those of the file.
capture noisily use kept using data/small_lohi, clear
display _rc
capture noisily use x using data/small_lohi if g == 1, clear
display _rc
capture noisily use x using data/small_lohi in 3/2, clear
display _rc
capture noisily use data/blocks_lohi if g == 1 in 2/2101, clear
display _rc
capture noisily use x if inlist(g, 1, 0) using data/small_lohi
display _rc
capture noisily use x using data/bad_name
display _rc
* All that left the data alone, and still changed.
assert kept == _n & _N == 3
capture noisily use data/small_lohi
display _rc
* Behind the header a failed load leaves no data. Cut in the rows; then names, a
* sort list and value labels that cannot be; in a part as in the whole.
capture noisily use data/cut, clear
display _rc " " _N " " c(changed) " |$S_FN|"
capture noisily use data/bad_name, clear
display _rc
capture noisily use data/bad_twice, clear
display _rc
use data/small_lohi
capture noisily use data/bad_sort, clear
display _rc " " _N
use data/small_lohi
capture noisily use data/bad_table
display _rc " " _N
use data/small_lohi
generate kept = _n
capture noisily use x using data/bad_name, clear
display _rc " " _N
use data/small_lohi
capture noisily use x if g == "yes":gl using data/bad_table
display _rc " " _N
* No errors: formats that are none become the type's own, and a label beyond
* the limit leaves its table out.
use data/bad_formats, clear
describe
use data/long_label
list g
