*! run: piped
* Would catch: a line missing in the review or one too many, the wrong count.
display 1
* a comment
#review
quietly display 2
run data/args
#review 3
#rev 4 2
#review 0
#nonsense
#delimit ;
display "not in a file"
