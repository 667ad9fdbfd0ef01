*! version 1.1  a public program after its subprogram
*! second line	with a tab
program counter_add
    version 9.2
    global counter = $counter + 1
    display "added for `0'"
end

program counter, properties(one   two)
    version 9.2
    counter_add `1'
    shared from counter
end

program shared
    display "shared of counter: `0'"
end
