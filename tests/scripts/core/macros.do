* Catches: macros replaced in the wrong order, at the wrong place, or not at all.
global g "global"
local i = 2
local x2 "nested"
display "$g ${g}text `x`i''"
* shows: global globaltext nested
display "[$none][`none']"
* shows: [][]
display "\$g \`i'"
* shows: $g `i'
local text `"say "hi""'
display `"`text'"'
* shows: say "hi"
local v "`macval(text)'"
display `"`macval(v)'"'
* shows: say "hi"
display "`=`i'*3' `++i' `i++' `i'"
* shows: 6 3 3 4
local one = 1/4
display "`one'"
* shows: .25
local s = "a" + "b"
display "`s'"
* shows: ab
local ++i
display "`i'"
* shows: 5
local i
display "[`i']"
* shows: []

* Failures: the words and the code.
capture noisily local ++none
* shows: local macro `none' not found
display _rc
* shows: 111
capture noisily local x "abc
display _rc
* shows: 198
capture noisily global _x 1
display _rc
* shows: 198

* Positional macros and shift, levels, and the caller's level.
program show
    display "`1'|`2'|`*'"
    macro shift
    display "`1'|`*'"
    c_local back "from show"
    local inner 1
end
show a "b c" d
* shows: a|b c|a b c d, then b c|b c d
display "`back' [`inner']"
* shows: from show []
tempvar a b
display "`a'" == "`b'"
* shows: 0
display length("`a'")
* shows: 8

* Last: the line fails as it is expanded, before capture is seen.
local self "\`self'"
capture noisily display "`self'"
* shows: too many macros, and the do-file ends with r(920)
