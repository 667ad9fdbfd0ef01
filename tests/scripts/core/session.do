* Would catch: a code reported twice or not at all, a threshold left behind.
display "one"
quietly display "hidden"
capture display "hidden too"
capture nosuchcommand
display _rc
noisily display "shown"
capture noisily error 111
display _rc
quietly noisily display "shown again"
quietly capture noisily display "shown by the level of the file"
capture quietly display "silent"
capture: display "with a colon"
error 0
quietly error 198
nosuchcommand
