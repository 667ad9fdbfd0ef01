* Would catch: columns out of line, labels not shown, text from the data taken for mark-up, a lost block.
version 9.2
use data/groups
* Five columns with numbers of observations and a rule behind row 5. open shows yes and no, its 2 as 2;
* output has two decimals, . and .a; town is at the left of its column; the braces and the tab (as a
* point) of the remark show as they stand.
list
* No numbers, no labels, a rule every two rows; then no rules at all.
list town year open, noobs nolabel separator(2)
list town year, sep(0)
list town output open in 2/4, clean
list town output open in 2/4, clean noobs
* A narrow line: the columns go on in a second block with its own numbers. flist takes the columns as
* wide as the formats, here 8.
set linesize 40
list town year output open town year output remark_of in 1/2
flist town year in 1/2
set linesize 79
* The faults: an unknown option, a separator that is none, an option with an argument too many or few.
capture noisily list, nosuch
capture noisily list, separator(-1)
capture noisily list, separator(two)
capture noisily list, separator
capture noisily list, clean(2)
capture noisily list, separator(2
display _rc
* Known, but not there yet: 199.
capture noisily list, abbreviate(5)
display _rc
