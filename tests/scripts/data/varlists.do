* Would catch: an abbreviation, pattern or range that takes a wrong variable.
version 9.2
use data/groups
* o could be open or output.
_describe open
capture noisily _describe o
display _rc
list o* in 1
list year-open in 1, noobs
list year - op year in 2
list remark~k in 1
list _all in 8
capture noisily list q* in 1
capture noisily list open-year in 1
capture noisily list o~* in 1
capture noisily list o~ in 1
capture noisily list 3x in 1
capture noisily list nosuch in 1
capture noisily list year- in 1
capture noisily list year + open
capture noisily summarize L.year
display _rc
capture noisily drop L.year
display _rc
* Without abbreviations only whole names count, but patterns and ~ still do.
set varabbrev off
capture noisily list out in 1
list out~ in 1
set varabbrev on
drop _all
capture noisily list x
display _rc
