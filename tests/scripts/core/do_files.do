*! args: , nostop
* Would catch: arguments that lose their quotes or take the options, a file
* that goes on after a failure, an include with macros of its own.
do data/args a "b c" d
run data/args quiet
do "data/args.do" one, nostop
do data/args "x, y"
capture noisily do data/args a, b
display _rc
capture noisily do data/fails
display _rc
do data/fails, nostop
local outer "seen"
include data/include
display "`included'"
include data/include more
capture do data/nosuch
display _rc
* Found with the other separator, too.
run data\args
