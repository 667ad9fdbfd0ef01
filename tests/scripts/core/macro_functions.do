* Would catch: an extended function with a wrong split, count, order, limit.
local list b a "x y" a
local n : word count `list'
local w : word 3 of `list'
display "`n' `w'"
local u : list uniq list
local d : list dups list
local s : list sort list
display `"`u' / `d' / `s'"'
local p a b c b
local q b d
local or : list p | q
local and : list p & q
local less : list p - q
local in : list q in p
local at : list posof "c" in p
display "`or' / `and' / `less' / `in' / `at'"
local r : subinstr local p "b" "Z", all count(local k)
display "`r' `k'"
local r : subinstr local p "b" "Z", count(0)
display "`r'"
local c : piece 2 10 of "the quick brown fox"
display "`c'"
local len : length local p
local m : set maxvar
display `len' " " `m' == c(maxvar)
local e : regexm "abc 123" "([a-z]+) ([0-9]+)"
local f : regexs 2
display "`e' `f'"
capture noisily local z : rownames A
display _rc
capture noisily local z : list uniq
display _rc
