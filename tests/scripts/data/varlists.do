* Would catch: an abbreviation, pattern or range that takes a wrong variable, or the wrong words and code.
version 9.2
use data/groups
* An exact name wins over longer ones: only open, not output. `o' alone could be either: code 111.
_describe open
capture noisily _describe o
display _rc
* A pattern in table order, a range, a name twice, a name cut by ~, everything.
list o* in 1
list year-open in 1, noobs
list year - op year in 2
list remark~k in 1
list _all in 8
* Each fails with its own words: no match, reversed range, ~ beside *, doubtful ~, no name.
capture noisily list q* in 1
capture noisily list open-year in 1
capture noisily list o~* in 1
capture noisily list o~ in 1
capture noisily list 3x in 1
capture noisily list nosuch in 1
capture noisily list year- in 1
capture noisily list year + open
* L.year is a time-series element where such are taken, and refused where they are not.
capture noisily summarize L.year
display _rc
capture noisily drop L.year
display _rc
* Without abbreviations only whole names count, though patterns and ~ still do.
set varabbrev off
capture noisily list out in 1
list out~ in 1
set varabbrev on
drop _all
capture noisily list x
display _rc
