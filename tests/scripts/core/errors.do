*! args: , nostop
* Would catch: a code with the text of another, a text where there is none, a
* code changed on its way out of error.
error 0
error 2.9
error 4
error 601
error 4 junk
* Texts of their own need an argument, which error does not have.
capture noisily error 111
capture noisily error 106
capture noisily error 180
capture noisily error 182
capture noisily error 303
capture noisily error 950
* The odd ones: error gives the number back, whatever reports them changes.
capture noisily error 2000
display _rc
capture noisily error 5101
display _rc
capture noisily error 8001
display _rc
quietly error 8002
capture noisily error 3500
display _rc
* Without a text, and out of bounds.
error 9999
error -3
error 100001
capture noisily error nosuch
display _rc
capture noisily error "text"
display _rc
capture noisily error
display _rc
* The long ones.
error 146
error 900
error 908
error 913
error 1010
