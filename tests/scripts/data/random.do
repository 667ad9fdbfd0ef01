* Would catch: a seed that is not taken or not told apart from bad input, a
* draw out of turn between the if, the expression and by-groups.
display %12.0f uniform()*4294967296
display c(seed)
local state = c(seed)
set obs 700
generate double u = uniform()
set seed `state'
assert u == uniform()
* The if draws before the expression, one observation after the other.
set seed 99
generate double chosen = uniform() if uniform() < .5
set seed 99
local first = uniform()
local second = uniform()
assert chosen[1] == cond(`first' < .5, `second', .)
* 330, by tests/tools/uniform_stream.py drawn in that order.
count if chosen < .
set seed 123456789
generate double first = uniform()
display %12.0f first[1]*4294967296
capture noisily set seed
capture noisily set seed 2147483647
capture noisily set seed 1.5
capture noisily set seed `state'0
display _rc
capture noisily set seed0 X
capture noisily set sortseed 1 2
capture noisily display uniform(1)
display _rc
capture noisily version 3.1: set seed 5
