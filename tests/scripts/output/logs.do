*! show: mid.tmrk plain.log
* Would catch: a log with another's words, code or state; a type that is not
* what was asked for; a preamble that loses the paragraph it begins in.
version 9.2
capture noisily log close
display _rc
capture noisily log off
display _rc
capture noisily cmdlog close
display _rc
capture noisily log close nosuch
display _rc
capture noisily log wood
display _rc
capture noisily log using
display _rc
capture noisily log using a, sideways
display _rc
capture noisily log using a, name(_all)
display _rc
capture noisily log using nowhere/a
display _rc
log
cmdlog
* The kind: option, then suffix, then the setting.
program kind
    quietly log using `0'
    display "`r(filename)' `r(type)' `r(status)'"
    quietly log close
end
kind a
kind b.log
kind c.out
kind d.log, tmrk
kind e, text
kind f, text tmrk
kind g, t
set logtype text
kind h
kind i.tmrk
kind j, t
kind k, tmrk
kind l, tmrk text
set logtype tmrk
* On and off.
quietly log using plain, text
quietly log
display "`r(filename)' `r(type)' `r(status)'"
local file : log
display "`file'"
capture noisily log using other
display _rc
capture noisily log using plain.log, append name(twin)
display _rc
capture noisily log using a
display _rc
quietly log off
log off
capture noisily translate data/conversion.tmrk plain.log, replace
display _rc
display "`r(status)' not in the log"
quietly log on
log on
display "{bf:in} the log, `r(status)'"
quietly log close
quietly log
display "|`r(filename)'|"
quietly log using plain.log, append
display "more"
quietly log close
* Five of a kind, and a name of 33 characters.
local long a23456789012345678901234567890123
capture noisily log using n1, name(`long'4)
display _rc
quietly log using n1, name(`long')
quietly log using n2, name(two)
capture noisily log using n3, name(two)
display _rc
quietly log using n3, name(three)
quietly log using n4, name(four)
quietly log using n5
capture noisily log using n6, name(six)
display _rc
quietly log off two
quietly log using n6, name(six)
capture noisily log on two
display _rc
quietly log close six
quietly log on two
quietly log close `long'
capture noisily log close `long'
display _rc
quietly log close _all
capture noisily log close _all
display _rc
* In the middle of a paragraph.
program middle
    display "{p 4 8 10}Begun before the log, " _continue
    quietly log using mid
    display "{bf:gone} on with in it.{p_end}"
    quietly log close
end
middle
* Nobody writes over a log that is open.
quietly set obs 1
generate x = 1
quietly log using guard, text
capture noisily save guard.log, replace
display _rc
quietly log close
save guard.log, replace
