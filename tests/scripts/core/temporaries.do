* Would catch: two temporaries of one name, one that outlives its level or
* goes with an inner one.
set obs 2
generate x = 1
program inner
    tempvar a
    generate `a' = 5
    display c(k)
    c_local kept "`a'"
end
program outer
    tempvar a b
    generate `a' = 1
    inner
    display c(k)
    assert `a' == 1
    generate `b' = 2
    display c(k) " " ("`a'" != "`b'") " " ("`a'" != "`kept'")
end
outer
display c(k)
* Names count up in base 36, files in base 34.
tempname first second
display "`first'"
display "`second'"
local third : tempvar
display "`third'"
tempfile f g
display length("`f'") == length("`g'")
display substr("`g'", length("`g'") - 5, 6)
display "`f'" != "`g'"
* Those of a do-file end with it, those made here stay.
tempvar mine
generate `mine' = 3
run data/temporary
display c(k)
assert `mine' == 3
