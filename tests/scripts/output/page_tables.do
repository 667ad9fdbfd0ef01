* Would catch: columns that do not line up, a rule that is too long or too
* short, an entry wider than its column that loses its text.
program page
    set linesize `1'
    display "{p2colset 3 14 16 2 2}{...}"
    display "{p2col:short}text that goes on over the end of a short line{p_end}"
    display "{p2col:ten wide..}one blank apart{p_end}"
    display "{p2col:eleven wide}one blank apart{p_end}"
    display "{p2col:twelve wide.}on the next line{p_end}"
    display "{p2coldent:dented}by two{p_end}"
    display "{p2col 1 9 9 0:own}columns{p_end}"
    display "{p2line}"
    display "{p2line 2 3}"
    display "{synoptset 14 tabbed}{...}"
    display "{synopthdr}"
    display "{synoptline}"
    display "{syntab:Main}"
    display "{synopt:{opt d:etail}}more statistics of every variable in the list{p_end}"
    display "{synopt:{opth gen:erate(newvar)}}wider than its column{p_end}"
    display "{hline 13}{c TT}{hline}"
    display "{ralign 12:price} {c |}{col 20}74{col 30}2.5{right:end}"
    display "{center:middle}"
    display "{dlgtab:Main}"
end
page 40
page 79
page 120
set linesize 79
