* Would catch: a subscript from the wrong end, one that leaves its group, one
* that reads a row already changed or not yet changed.
use data/groups
assert year[1] == 1990 & town[8] == "Cork" & town[_N] == "Cork"
assert year[0] == . & year[-1] == . & year[9] == . & town[9] == ""
assert year[1.99] == year[1] & year[.] == . & year[.a] == . & town[.] == ""
* A subscript may be any expression, with subscripts of its own.
assert year[open[6] + 1] == 1992 & year[open[open[1]]] == 1990
assert town[_n] == town & year[_N - _n + 1] == year[9 - _n]
generate before = output[_n-1]
assert before == output[_n-1]
assert before[1] == . & before[4] == . & before[7] == .a
* Within a group rows count from its first.
by town: generate byte first = _n == 1
by town: generate same = year[1]
by town: generate last = year[_N]
by town: generate next = year[_n+1]
assert same == 1990 if town != "Cork"
assert last[1] == 1992 & last[4] == 1993 & last[8] == 1991
assert next[3] == . & next[7] == . & next[4] == 1990
* A row sees those before it as they have become, those behind as they were.
generate run = 1
replace run = run[_n-1] + run[_n+1] if _n > 1 & _n < _N
assert run[2] == 2 & run[7] == 7 & run[8] == 1
capture noisily assert _n[1]
display _rc
capture noisily display year[1
display _rc
capture noisily display year["a"]
display _rc
capture noisily display nosuch[1]
display _rc
