* Would catch: a pause where nobody can end it, arguments taken, by taken.
more
set more on
more
capture noisily more now
display _rc
use data/groups
capture noisily by town: more
display _rc
