display "session started"
use data/small_lohi
label define a 1 "one" 3 "three"
label define a 2 "two", add
label define a 2 "zwei" 1 "", modify
label values x a
label variable x "A label"
label data "Data"
label language de, new
label variable x "Ein Name"
label language default
label language en, new copy
label language english, rename
label language english, delete
label language
char x[one] "some text"
char x[one] "another text"
char g[one] "text"
char rename x g, replace
char list
notes x: a note TS
notes g: a note
notes
notes drop x
label save using labels
label list
label drop _all
display "session usable"
display "session usable"
