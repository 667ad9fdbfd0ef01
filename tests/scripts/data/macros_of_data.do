* Would catch: what a macro tells of a variable taken from its neighbour, a
* label or characteristic that is cut or missing.
use data/groups
local type : type remark
local format : format output
local value : value label open
local none : value label year
local label : variable label output
local of : data label
local order : sortedby
display "`type' `format' `value' [`none']"
display "`label' / `of'"
display "`order'"
* By the variable or by the table; beside its label a value shows as number.
local a : label (open) 1
local b : label open 0
local c : label (open) 2
local d : label (open) 2, strict
local e : label (open) 1 2
local f : label (year) 1990
display "`a' `b' `c' [`d'] `e' `f'"
local names : char output[]
local names : list sort names
local note : char output[note1]
display "`names' / `note' / `output[note1]' / [`output[none]']"
local new : permname year
local free : permname unused
display ("`new'" != "year") " `free'"
drop output
local order : sortedby
display "`order' `: type year' `=year[2]' `=_N' `c(k)'"
capture noisily local x : type nosuch
display _rc
capture noisily local x : type town year
display _rc
capture noisily local x : value label o*
display _rc
display "[`: type nosuch']"
