* Would catch: macros replaced in a wrong order, at a wrong place, or not.
global g "global"
local i = 2
local x2 "nested"
display "$g ${g}text `x`i''"
display "[$none][`none']"
display "\$g \`i'"
local text `"say "hi""'
display `"`text'"'
local v "`macval(text)'"
display `"`macval(v)'"'
display "`=`i'*3' `++i' `i++' `i'"
local one = 1/4
display "`one'"
local s = "a" + "b"
display "`s'"
local ++i
display "`i'"
local i
display "[`i']"
* Failures: the words and the code.
capture noisily local ++none
display _rc
capture noisily local x "abc
display _rc
capture noisily global _x 1
display _rc
* Positional macros and shift, levels, and the caller's level.
program show
    display "`1'|`2'|`*'"
    macro shift
    display "`1'|`*'"
    c_local back "from show"
    local inner 1
end
show a "b c" d
display "`back' [`inner']"
tempvar a b
display "`a'" == "`b'"
display length("`a'")
* Last: the line fails as it is expanded, before capture is seen.
local self "\`self'"
capture noisily display "`self'"
