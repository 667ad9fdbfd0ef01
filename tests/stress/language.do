display "session started"
local x = 1
local long : display %18.0g 1/3
global g "text with `x' in it"
macro list
tempvar v
tempfile f
program greet
local who "`0'"
if "`who'" != "" {
display "hello `who'"
}
end
greet you
do data/args a "b c"
capture noisily do data/nosuch
local i = 0
while `i' < 3 {
local i = `i' + 1
}
set rmsg on
set rmsg off
set linesize 79, permanently
set varabbrev on, permanently
macro drop _all
display "session usable"
display "session usable"
