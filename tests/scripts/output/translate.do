*! show: again.log page.htm piece.tex
* Would catch: a target chosen wrongly; names shown without their suffix; one that a refused or
* failed conversion has touched.
set linesize 60
local from data/conversion.tmrk
translate `from' again.log
translate again.log again.TXT
translate again.log again.txt
translate `from' page.htm, book yebf
translate `from' piece.tex, whbf
translate `from' piece, replace book
translate data/conversion "second copy.html", links
* Refused ahead of any work; then what stands there is not touched.
capture noisily translate `from'
display _rc
capture noisily translate nosuch
display _rc
capture noisily translate `from' again.txt
display _rc
capture noisily translate nosuch.tmrk again.txt, replace
display _rc
capture noisily translate data/args.do again.txt, replace
display _rc
capture noisily translate `from' again.pdf
display _rc
capture noisily translate `from' again.txt, replaced
display _rc
capture noisily translate `from' again.txt, repl
display _rc
capture noisily translate `from' again.txt extra
display _rc
capture noisily translate
display _rc
capture noisily translate data.tmrk/x.tmrk again.txt
display _rc
capture noisily translate `from' nowhere/again.txt
display _rc
quietly translate again.log again.log, replace
translate again.log again.TXT, replace
