* Would catch: a gap, an indent, a margin or the end of a line that goes wrong
* at some line size.
program page
    set linesize `1'
    display "{hline}"
    display "{pstd}The filler takes words and gives lines.  Two blanks stay"
    display "behind a full stop. One stays one; the end of a line counts as two."
    display "{bf:Bold}face is one word, and {bind:these four stay together}."
    display ""
    display "{phang2}{cmd:hanging} text begins at eight, goes on at twelve, and" _continue
    display " leaves two columns free on the right!{p_end}"
    display "{p 2 0 30}A wide margin: the page grows with the line, and the margin"
    display "is cut where the line is short.{break}A break begins a new line."
    display ""
    display "{p 4 4 0}No blank line follows.{p_end}"
    display "{p 200 300}not a paragraph"
    display "{p 200}cut"
    display ""
    display "{.-}"
end
page 40
page 79
page 120
set linesize 79
