* Would catch: quotes, comments and joined lines taken for each other.
display /* a comment /* and one in it */ still */ "one"
display "a // b" // a comment behind a blank
display "http://no.comment"
display 1 + ///
    2
display `"a "quoted" text"'
display "/* in a string */"
	display "a tab in front"
#delimit ;
display "ends at a semicolon"
    ;
display "two"; display "on a line";
* a comment
  over two lines;
#delimit cr
display "back"
#nonsense
do data/delimited a "b c"
* Its delimiter ended with it; its last line, without an end, was dropped.
display "back in the caller"
* The word ends at the semicolon, in either mode.
#delimit cr;
display "still at line ends"
