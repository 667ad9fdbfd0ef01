*! args: , nostop
* Would catch: a bound off by one, a failed set that leaves a value behind, a
* setting that c() does not tell.
set linesize 39
set linesize 256
set linesize 40
display "{hline}"
set linesize 79
set adosize 9
set adosize 1000
display c(adosize) " " c(linesize)
set pagesize x
set pagesize
set more
set more maybe
set more off
display c(more)
set type 4
set type double
display c(type)
set type float
set level 9
set level 90.5
display c(level) " $S_level"
set dp comma
display 1.5 " " c(dp)
set dp period
set varabbrev off
display c(varabbrev)
set li 60
set adosize 500, permanently
set adosize 10, perm
capture set adosize 700, nosuch
display c(adosize) " " c(linesize)
capture set nosuch 1
display _rc
