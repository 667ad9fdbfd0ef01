* Would catch: columns out of line, labels not shown, text of the data taken
* for mark-up, a lost block of columns.
version 9.2
use data/groups
* A rule stands behind row 5; the tab in a remark shows as a point.
list
list town year open, noobs nolabel separator(2)
list town year, sep(0)
list town output open in 2/4, clean
list town output open in 2/4, clean noobs
* flist takes columns as wide as the formats.
set linesize 40
list year output open town year remark_of in 1/2
flist town year in 1/2
set linesize 79
capture noisily list, nosuch
capture noisily list, separator(-1)
capture noisily list, separator(two)
capture noisily list, separator
capture noisily list, clean(2)
capture noisily list, separator(2
display _rc
capture noisily list, table(5)
display _rc
