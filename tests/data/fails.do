display "before"
error 198
display "after"
