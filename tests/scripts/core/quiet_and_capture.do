*! args: , nostop
* Would catch: a threshold that does not go back, noisily that reaches beyond
* the level of its program, a code told twice.
program show
    display "plain"
    quietly {
        display "hidden"
        noisily display "noisily"
    }
    quietly noisily display "both"
    noisily quietly display "hidden"
    display as error "error"
end
show
quietly show
quietly noisily show
capture show
capture noisily show
* Errors and their code show under quietly, nothing does under capture.
program fails
    display "before"
    error 109
    display "must not run"
end
quietly fails
capture fails
display _rc
noisily capture fails
capture noisily fails
display _rc
* _rc is that of the last capture, the innermost one first.
capture {
    capture error 5
    display "hidden"
    error 7000 + _rc
}
display _rc
capture quietly {
    noisily fails
}
display _rc
* noisily in a run is the threshold of the run's entry.
run data/noisy
quietly run data/noisy
n quietly noisily capture n display "all"
cap n error 3
cap error 3
display _rc
* What is echoed in a quiet block keeps its line ends.
quietly {
display "hidden"
noisily display "shown"
}
