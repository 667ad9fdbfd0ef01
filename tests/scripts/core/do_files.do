*! args: , nostop
// Arguments that keep their quotes or take the options, a file that goes on after a failure, an include
// with macros of its own.
do data/args a "b c" d
run data/args quiet
do "data/args.do" one, nostop
capture noisily do data/args a, b
// option b not allowed
display _rc
// 198
do data/args "x, y"
// 0: "x, y"
capture noisily do data/fails
display _rc
// before, invalid syntax; 198
do data/fails, nostop
// before, invalid syntax, r(198), after: no code of its own
local outer "seen"
include data/include
display "`included'"
// yes
include data/include more
// invalid syntax, 198
capture do data/nosuch
display _rc
// 601
run data\args
// found with the other separator
