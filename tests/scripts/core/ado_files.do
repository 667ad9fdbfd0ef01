*! args: , nostop
* Would catch: the wrong file loaded, a subprogram seen from outside, or what
* a failed load left kept.
global S_ADO "data/ado;BASE"
global counter 0
program shared
    display "shared by hand: `0'"
end
* counter runs the shared of its own file; from here it is the one above.
counter now
shared from here
capture counter_add x
display "$counter " _rc
local p : properties counter
display "`p'"
clean
* Line 0 tells the version under which it was loaded.
program list clean
nodefine
outside
capture outside
display _rc
unended
no.name
quietly nosuch
discard
capture program list clean
display _rc
which su
which counter, all
* Words that an ado-file abbreviates in its own way: logit takes 4 letters.
unabcmd su
display "`s(cmd)'"
unabcmd logi
display "`s(cmd)'"
unabcmd olo
unabcmd a b
sysdir set PLUS "data/ado"
sysdir set NOWHERE "data"
