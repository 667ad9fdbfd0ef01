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
* kinds: texts, words of a list, old forms, rows that only some versions know
set charset utf
set copycolor gs9
set copycolor gs3
set searchdefault here
set searchdefault all
set logtype
set type
display c(copycolor) " " c(searchdefault) " " c(logtype)
set tracedepth 0
set reventries 501
set cmdtitle "a, b"
display c(cmdtitle)
set httpproxyhost proxy.example.org
display c(httpproxyhost)
set httpproxyport 65536
set more 0
display c(more)
set more 1, permanently
set more 1
display c(more)
set floatwindows float
set scheme nosuch
set pagesize 5, permanently
set icmap 1 2 3
set revwindow 5
set width 3
version 4: set width 3
version 7: set ANSI on
set ANSI on
set nosuch on
version 6: set linesize 9
version 6: set linesize 300
set linesize 300
set linesize 79
set seed 1
set scrollbufsize 9999
set procs_use 100000000000000000000
set output inform
display "not shown"
set output proc
display "shown"
set output all
set type 4
