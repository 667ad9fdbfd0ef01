* Would catch: a link that loses its text, or that is torn from what stands
* beside it. Where links lie on a line is tested on records.
program page
    set linesize `1'
    display "{help list} {browse " _char(34) "http://x.y" _char(34) ":site} {back:back} {update}"
    display "{korva display 1:run} {lumocmd f():call} {net get x} {help a:{help b}}"
    display "{help regress:a link on a line that is cut where it ends, not between words}."
    display "{pstd}In a paragraph ({help regress##options:a link}) wraps between its words"
    display "({help summarize:and what touches it goes along}), {helpb x}{help y:z}.{p_end}"
    display "{manhelp list R}, {manhelpi list R:listing}; {varlist} {depvar:s} {ifin} {dtype}"
    display "{opt d:etail} {opt by(a, %f)} {opth gen(newvar)} {opt x()} {opt y(z} {cmdab:su:m:(}"
end
page 40
page 79
page 120
set linesize 79
