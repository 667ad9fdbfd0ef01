* Would catch: a number list expanded wrongly, or against its rules.
numlist "1/3 2"
display "`r(numlist)'"
numlist "1/3 2", sort
display "`r(numlist)'"
numlist "5(-2)1 0(.1).3 2[2]6 1 3 to 7 3/1 -.5 1e3"
display "`r(numlist)'"
numlist ". .b 2", missing
display "`r(numlist)'"
numlist "1 1.5", range(>0 <=1.5) ascending
display "`r(numlist)'"
capture noisily numlist "1(0)3"
display _rc
capture noisily numlist "1/1e9"
display _rc
capture noisily numlist ""
display _rc
capture noisily numlist "1 2 2", asc
display _rc
capture noisily numlist "3 4", desc
capture noisily numlist "1 2", range(>=2)
display _rc
capture noisily numlist "1.5", int
display _rc
capture noisily numlist ".", 
display _rc
capture noisily numlist "1 2 3", max(2)
capture noisily numlist "1 2 3", min(4)
capture noisily numlist "1 a"
capture noisily numlist "1", oddly
display _rc
* What a failed one leaves.
display "`r(numlist)'"
