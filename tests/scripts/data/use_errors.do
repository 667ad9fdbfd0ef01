* Each bad file has its words and code; up to the header the data stay.
version 9.2
use data/small_lohi
generate kept = _n

* 4: the data have changed.
capture noisily use data/types_lohi
display _rc
* 198: an option and a word that use does not know.
capture noisily use data/small_lohi, clear sideways
display _rc
capture noisily use data/small_lohi sideways, clear
display _rc
* 601, 603 (a directory), 609, 610 (text), 610 (other words), 199 (old).
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
capture noisily use data/old_110, clear
display _rc
* 199: the web, and subsets; 671: another scheme.
capture noisily use http://example.org/x, clear
display _rc
capture noisily use ftp://example.org/x, clear
display _rc
capture noisily use x using data/small_lohi, clear
display _rc
capture noisily use data/small_lohi in 1/2, clear
display _rc

* All that left the data alone.
assert kept == _n & _N == 3

* 692: cut in the rows. 688: invalid name, name there twice, sort list,
* value labels. The data are gone.
capture noisily use data/cut, clear
display _rc " " _N " |$S_FN|"
capture noisily use data/bad_name
display _rc
capture noisily use data/bad_twice
display _rc
use data/small_lohi
capture noisily use data/bad_sort
display _rc " " _N
capture noisily use data/bad_table
display _rc

* No errors: display formats that are none become %10.0g and %9s; a label
* beyond the limit leaves its table out.
use data/bad_formats
describe
use data/long_label
list g
