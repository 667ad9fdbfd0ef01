*! show: again.do
* Would catch: labels out of order, texts lost when entries come and go, a wrong
* refusal, a format not widened, and a do-file that does not make the labels again.
version 9.2
set obs 3
generate byte x = _n
generate double z = _n
generate str1 s = "a"
label define yn 3 "three" 1 one
label define yn .a "none" -4 "minus", add
label list yn
assert r(k) == 4 & r(min) == -4 & r(max) == 3 & r(hasemiss) == 1
* A text that stands twice is found at its lower value.
label define twice 7 "same" 2 "same"
display 0 + "same":twice
* Without an option, or with the wrong one, nothing changes.
capture noisily label define yn 9 "nine"
display _rc
capture noisily label define yn 8 "eight" 3 "drei", add
display _rc
capture noisily label define yn 1.5 "half", add
display _rc
capture noisily label define new 1 "a" 2 "b
display _rc
capture noisily label define new 1 "a" 1 "b"
display _rc
capture noisily label define new 1 "a", addd
display _rc
capture noisily label define 1new 1 "a"
display _rc
capture noisily label list yn new
display _rc
quietly label list yn
assert r(k) == 4
label define yn 3 "drei" 1 "" 5 "five" 3 "trois", modify
label list yn
* Formats widen to the longest label, in place, and back to nothing.
label values x z yn
display "`: format x' `: format z'"
label define yn 6 "twelve bytes", add
display "`: format x' `: format z'"
label define yn 7 "thirteen bytes", add nofix
display "`: format x' `: format z'"
label values z ., nofix
assert "`: value label z'" == ""
label values x-z yn, nofix
label values x - z
assert "`: value label x'`: value label z'" == ""
capture noisily label values x s yn
display _rc
assert "`: value label x'" == ""
label values s
label values x later
assert "`: value label x'" == "later"
capture noisily label values q yn
display _rc
* Limits.
local long "0123456789012345678901234567890123456789"
label variable x "`long'`long'`long'"
assert "`: variable label x'" == "`long'`long'"
label data `"`long'`long'"'
assert "`: data label'" == "`long'`long'"
label data
label variable x
assert "`: variable label x'`: data label'" == ""
capture noisily label variable x unquoted
display _rc
local i 0
local text "0123456789"
while `i' < 12 {
    local ++i
    local text "`text'`text'"
}
label define long 1 "`text'"
assert `: label long maxlength' == 32000
local i 0
while `i' < 65536 {
    local ++i
    label define full `i' "n`i'", add
}
capture noisily label define full 0 "one too many", add
display _rc
label define full 65000 "changed", modify
quietly label list full
assert r(k) == 65536 & r(min) == 1
assert "`: label full 65000'" == "changed" & "`: label full 64999'" == "n64999"
label drop full long
* The do-file makes the tables again.
label define odd 1 `"a "quoted" word"' 2 "cost \$5 \`x'"
label save yn odd using again
capture noisily label save using again.do
display _rc
label save yn odd using again, replace
label drop _all
label dir
run again
label list odd yn
label dir
assert "`r(names)'" != ""
capture noisily label drop yn nothere
display _rc
label list yn
capture noisily label la yn
display _rc
