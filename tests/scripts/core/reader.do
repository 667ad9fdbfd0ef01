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
display "the caller's lines end at the line's end, and a last line without an end was dropped"
