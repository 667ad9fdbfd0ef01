* Catches: an extended function with the wrong split, count, order or limit.
local list b a "x y" a
local n : word count `list'
local w : word 3 of `list'
display "`n' `w'"
* shows: 4 x y
local u : list uniq list
local d : list dups list
local s : list sort list
display `"`u' / `d' / `s'"'
* shows: b a "x y" / a / a a b "x y"
local p a b c b
local q b d
local or : list p | q
local and : list p & q
local less : list p - q
local in : list q in p
local at : list posof "c" in p
display "`or' / `and' / `less' / `in' / `at'"
* shows: a b c b d / b / a c b / 0 / 3
local r : subinstr local p "b" "Z", all count(local k)
display "`r' `k'"
* shows: a Z c Z 2
local r : subinstr local p "b" "Z", count(0)
* shows: Setting count to zero prevents all substitutions.  Original string will be returned.
display "`r'"
* shows: a b c b
local c : piece 2 10 of "the quick brown fox"
display "`c'"
* shows: brown fox
local len : length local p
local m : set maxvar
display `len' " " `m' == c(maxvar)
* shows: 7 1
local e : regexm "abc 123" "([a-z]+) ([0-9]+)"
local f : regexs 2
display "`e' `f'"
* shows: 1 123
capture noisily local z : rownames A
* shows: extended macro function rownames is not available yet
display _rc
* shows: 199
capture noisily local z : list uniq
display _rc
* shows: 198
