display "hidden"
noisily display "shown"
