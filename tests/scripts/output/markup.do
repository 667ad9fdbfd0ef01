* Would catch: a directive that misplaces text, a bad one that hides its
* text, a good one that shows.
display "{res}result {txt}text {err:error {bf:bold {it:x}}} {ul on}u{ul off}"
display "a{col 10}b{col 5}c{space 3}d{tab}e"
display "{hline 5}{c +}{c |}{c TT}{c BRC}{c -(}x{c )-} {c 0x41}{c 66}"
display "{hline}"
display "{right:to the right}"
display "{center:mid}"
display "|{center 8:mid}|{rcenter 8:mid}|"
display "|{lalign 5:ab}|{ralign 5:ab}|{lalign 1:ab}|"
display "{dup 3:ab}{dup 0:no}{* nothing}|"
display "{title:A title}"
* What is no directive shows as it stands, and a good one in it works.
display "{nosuch} {?nosuch:abc}{?nosuch}| {nosuch {bf:b}}"
display "{c 0x4}{c 256} {dup 1000:x} {col 256}{bf}{p 1 2 x}"
display "{txt"
display "{help summarize} {search r(111):r(111)} {help a:x {bf:y} z}"
display "{cmdab:su:mmarize} {opt d:etail} {opt by(var)} {opth g(varlist)}"
display "{manhelp list R} {depvar:s} {ifin} {ccl pi} {ccl born_date}"
* A paragraph keeps two blanks behind a sentence and none at its line's ends.
program paragraphs
    display "{p 4 8 30}Every word of this finds its line.  The first line is"
    display "indented by four, {bf:the oth}ers by eight, and thirty columns"
    display "on the right stay free."
    display ""
    display "{pstd}No blank line follows this one.{p_end}"
    display "{p2colset 5 16 18 40}{...}"
    display "{p2col:first}the second column goes on, line by line{p_end}"
    display "{p2col:longer than ten}next line{p_end}"
    display "{p2line}"
    set linesize 40
    display "{p 0 2}{bind:three words} and {help x:a link that has to wrap}"
    display "here, {col 5}{p_end}"
    display "123456789012345678901234567890123456789012345 {p_end}"
    set linesize 79
    display "{asis}"
    display "{bf:x}"
end
paragraphs
display "{bf:x}"
