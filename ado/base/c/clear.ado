*! version 9.2.0  21nov2026
* clear: forgets the data with all that hangs on them, saved or not.
program clear
    version 9.2
    if `"`1'"' != "" {
        error 198
    }
    drop _all
end
