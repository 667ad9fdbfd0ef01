*! the second copy, never loaded
program counter
    display "wrong copy"
end
