* A first session, as a do-file. From the directory above this one:
*
*     korva do examples/tour.do

version 9.2

* The data: one row an employee. Missing values tell why they are missing.
use "examples/data/wages.dta", clear
describe
count
count if wage >= .
count if wage == .a

* New variables, some of them only where a condition holds. A missing value
* is above every number.
generate double weekly = wage * hours
generate byte parttime = hours < 30
replace parttime = . if occ == ""
assert weekly == wage * hours
summarize wage weekly parttime
summarize weekly if parttime == 1
list id region occ wage weekly in 1/5
list id occ hours wage if wage > 45 & wage < .

* Macros: a local one, a global one, and one that keeps a result.
local floor = 8
global currency "crowns"
summarize wage if wage < `floor'
local low = r(N)
display "`low' people earn less than `floor' $currency an hour."

if `low' > 0 {
    display "The least of them earns " %4.2f r(min) "."
}
else {
    display "Nobody does."
}

* A program, defined here.
capture program drop share
program share
    quietly count if `1' == 1
    local ones = r(N)
    quietly count if `1' < .
    local percent = 100 * `ones' / r(N)
    display as text "`1': " as result %4.1f `percent' as text " percent"
end
share female
share union
share parttime

* A do-file inside this one, with an argument.
do examples/tour_part2 "Capital"

* An ado-file: gap is no command until its file is found on the path.
global S_ADO "examples/ado;$S_ADO"
gap wage union
gap wage female

* Labels tell what variables are and what their numbers mean; notes say more.
label variable parttime "Less than 30 hours a week"
label define parttime 0 "full time" 1 "part time"
label values parttime parttime
notes parttime: Missing where the occupation is missing, too.
describe weekly parttime
notes parttime
list region wage parttime in 1/6, noobs separator(3) mean(wage)

* Errors stop a do-file, unless they are captured.
capture generate wage = 1
display "generate wage: code " _rc
capture noisily use "examples/data/nowhere.dta", clear
display "use: code " _rc
capture gap wage
display "gap with one variable: code " _rc

* Fewer rows, fewer variables; what is shown goes to a log.
quietly log using tour_pages, tmrk replace
drop if wage >= .
keep id region wage parttime
label data "Paid employees"
describe

* The data go to a file, and come back in part.
tempfile paid
quietly save "`paid'"
use region wage using "`paid'" if wage > 40, clear
list, separator(0)
quietly log close

* The log becomes a page for a browser: tour_pages.html.
quietly translate tour_pages.tmrk tour_pages.html, replace
clear
