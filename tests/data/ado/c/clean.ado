// Commands that may stand outside of programs, and an exit before what may not.
version 9.2
capture program drop clean_nothing
program clean
    display "clean, version " c(version)
end
exit
display "never read"
