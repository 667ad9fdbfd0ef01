*! run: batch
*! status: 1
* Would catch: output that misses the log or stays off the screen, a question
* that waits for nobody, a failure that the status hides.
display "mode: `c(mode)'"
display "{bf:bold} {hline 5}"
capture noisily display _request(name)
display _rc "$name|"
do data/args a b
error 198
display "must not run"
