* Would catch: a page wider than its line, a value cut off, columns under the
* wrong name, rules or headings at the wrong row, wrong totals.
version 9.2
use data/groups
set linesize 40
* Four columns of 40 - 3 - 4 = 33 fit; the fifth has a block of its own.
list in 1/2
list in 1/2, divider
* As records: names and values of a place stand one below the other.
list in 2/3, display
generate str60 story = "A text that is longer than the line has columns, all told" in 1
generate double money = 1234567.5 * _n
* A value wider than the line: records, in which it goes on below; as a table inside its column.
list town story year in 1
list story in 1, table
list town story in 1, string(12)
set linesize 79
list town year output money in 5/7
list town year if town == "Borg", sepby(year) noobs
list town year in 1/4, header(2) separator(3)
list town year in 1/2, noheader
list town output in 1/6, mean(output) sum N(output)
list output town in 1/3, mean labvar(town) noobs
list remark_of_the_clerk in 1/2, abbreviate(12)
list remark_of_the_clerk in 1/2, abbreviate(32) clean
set linesize 120
list in 2
list in 2, linesize(50)
list in 1, table linesize(40) clean noobs
set linesize 79
by town: list year open if year > 1990, separator(0)
* Formats of dates and commas, all kinds of missing values; many columns on a narrow line are records.
use data/types_lohi, clear
list in 27/30
list in 27/30, string(8)
set linesize 40
list in 29/30, string(20)
set linesize 79
* What is refused.
capture noisily list, table display
display _rc
capture noisily list, clean divider
capture noisily list, separator(1) sepby(town)
capture noisily list, abbreviate(4)
capture noisily list, string(0)
capture noisily list, sum(town)
display _rc
capture noisily list, sepby(nosuch)
display _rc
