*! args: , nostop
// The wrong file loaded, a subprogram seen from outside or hidden from its own file, commands outside of
// programs run, an ado-file that keeps what a failed load left.
global S_ADO "data/ado;BASE"
global counter 0
program shared
    display "shared by hand: `0'"
end
counter now
// added for now, shared of counter: from counter
shared from here
// shared by hand: from here
capture counter_add x
display "$counter " _rc
// 1 199
local p : properties counter
display "`p'"
// one two
clean
nodefine
// unrecognized command:  nodefine not defined by nodefine.ado, 199
outside
// the text of 161, then (error occurred while loading outside.ado), r(161)
capture outside
display _rc
// 161: nothing of the failed load stayed
unended
// unexpected end of file, 612
no.name
// unrecognized command:  no.name invalid command name
nosuch
quietly nosuch
// the words show under quietly, r(199) does not
program list clean
// line 0 tells the version under which it was loaded
discard
capture program list clean
display _rc
// 111
which counter, all
unabcmd su
display "`s(cmd)'"
// summarize
unabcmd logi
// found as neither, 111: at least four characters: logit
unabcmd a b
// "a b" is an invalid command name, 198
sysdir set PLUS "data/ado"
sysdir set NOWHERE "data"
