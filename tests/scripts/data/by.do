* Would catch: a group that is cut or joined wrongly, a header missing or too many, data not sorted taken.
version 9.2
use data/groups
* Three tables, each under its town; the second has 3 outputs.
by town: summarize output
* The sort-only variable makes no groups; the keys in the header are both with two of them.
by town (year): list year
by town year: list output if town == "Borg"
bysort town: list year output, clean noobs
* Not sorted by these: 5. Sorting is not there yet: 199.
capture noisily by year: list
display _rc
capture noisily bysort open: list
display _rc
* Faults of the prefix itself: no colon 100, no list 100, no grouping variable 198; by itself and display
* take no by, 190; in under by is 190, an option that is none 198 for either side.
capture noisily by town list
capture noisily by : list
capture noisily by (town): list
capture noisily by town: by town: list
capture noisily by town: display 1
capture noisily by town: list in 1
capture noisily by town: list, nosuch
capture noisily by town, nosuch: list
* rc0 goes on behind a group that fails and tells its code.
by town, rc0: list nosuch
program first, byable(recall)
    list year `0'
end
program once, byable(onecall)
    by `_byvars'`_byrc0': summarize output
end
program plain
    display "plain"
end
* The recalled program runs three times on all the data, so that each time row 1 shows; the other loops
* itself. A program that says nothing about by is refused with 190.
by town: first in 1
by town: once
capture noisily by town: plain
display _rc
