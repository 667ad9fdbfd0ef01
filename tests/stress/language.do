display "session started"
local x = 1
local long : display %18.0g 1/3
global g "text with `x' in it"
macro list
tempvar v
tempfile f
local names : dir "data" files "*.do"
local parts : subinstr global g "text" "a much longer text than there was before", all
local sorted : list sort parts
program greet
local who "`0'"
if "`who'" != "" {
display "hello `who'"
}
end
greet you
greet `"a "quoted" name"'
program list greet
do data/args a "b c"
capture noisily do data/nosuch
quietly noisily run data/noisy
include data/include
local i = 0
while `i' < 3 {
local i = `i' + 1
greet `i'
}
clear
which clear
nosuchcommand
set rmsg on
set rmsg off
set linesize 79, permanently
set varabbrev on, permanently
display "{p 4 8 2}a paragraph that is long enough to be broken over two lines at the least, in words{p_end}"
capture {
error 198
}
program drop greet
discard
macro drop _all
display "session usable"
display "session usable"
