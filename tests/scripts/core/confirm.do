* Would catch: confirm accepting what is not so, or another code for it.
set obs 1
generate price = 1
generate str3 make = "x"
generate day = 1
confirm existence a b
capture noisily confirm existence
display _rc
confirm names a _b
capture noisily confirm names a 2b
display _rc
confirm number 3.5
confirm n -1e3
confirm integer number 4
capture noisily confirm number 3x
display _rc
capture noisily confirm integer number 3.5
display _rc
capture noisily confirm number
confirm file confirm.do
confirm new file nothing_here.txt
capture noisily confirm file nothing_here.txt
display _rc
capture noisily confirm new file confirm.do
display _rc
capture noisily confirm new file no_directory/x
display _rc
confirm variable pr mak
confirm numeric variable pr-price
confirm string variable make
confirm new variable z1 z2
capture noisily confirm variable pr, exact
display _rc
capture noisily confirm variable nosuch
display _rc
capture noisily confirm numeric variable price make
display _rc
capture noisily confirm string variable price
capture noisily confirm date variable price
capture noisily confirm new variable price
display _rc
capture noisily confirm new variable z z
display _rc
capture noisily confirm new variable 3x
display _rc
capture noisily confirm variable 3x
display _rc
capture noisily confirm variable
display _rc
confirm format %9.2f
capture noisily confirm format 9.2f
display _rc
capture noisily confirm scalar nosuch
display _rc
capture noisily confirm matrix nosuch
capture noisily confirm something
display _rc
