* Would catch: a group that is cut or joined wrongly, a header missing or too
* many, unsorted data taken, a command run that takes no by.
version 9.2
use data/groups
by town: summarize output
* The sort-only variable makes no groups; with two keys the header has both.
by town (year): list year
by town year: list output if town == "Borg"
bysort town: list year output, clean noobs
* Not sorted by these: 5. Sorting is not there yet: 199.
capture noisily by year: list
display _rc
capture noisily bysort open: list
display _rc
* Faults of the prefix itself, then of the command behind it.
capture noisily by town list
capture noisily by : list
capture noisily by (town): list
capture noisily by town: by town: list
capture noisily by town: display 1
capture noisily by town: list in 1
capture noisily by town: list, nosuch
capture noisily by town, nosuch: list
display _rc
* rc0 goes on behind a group that fails, and keeps the code.
by town, rc0: list nosuch
display _rc
program first, byable(recall)
    list year `0'
end
program once, byable(onecall)
    by `_byvars'`_byrc0': summarize output
end
program plain
    display "plain"
end
* The recalled program runs for each group on all the data, so that each time
* row 1 shows; the other loops itself.
by town: first in 1
by town: once
capture noisily by town: plain
display _rc
