#delimit ;
display `"in the file, arguments `0'"';
display "no line end"