* Would catch: text lost or doubled where a line is cut, and mark-up in text.
program page
    set linesize `1'
    local digits "1234567890"
    local long "`digits'`digits'`digits'`digits'"
    display "`long'"
    display "`long'`long'{res:`digits'}`long'"
    display "{asis}"
    display "as it is {bf:`long'`long'}`long'"
    display _asis "{bf:x} {{} `long'`long'`long'"
    display as text _asis "{p}{asis}{" as result "}{txt"
    display "{tmrk}"
    display "{dup 13:abcdefghij}|"
    display "a{col 39}{bf:bc}def{tab}g"
    display "{hline 100}|"
    display "{title:A title}"
    display "{p 0 4}`long'`long'`long'{p_end}"
    display "{p 4 2}word `long'`long' word{p_end}"
end
page 40
page 79
page 120
set linesize 79
