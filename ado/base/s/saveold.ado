*! version 9.2.0  21nov2026
* saveold filename [, replace nolabel orphans all midrange]: save in the older
* format. The data in memory stay, with the missing values that it lacks.
program saveold
    version 9.2
    preserve
    gettoken file 0 : 0, parse(" ,")
    if trim(`"`0'"') == "" {
        save `"`file'"', oldformat
    }
    else {
        save `"`file'"' `0' oldformat
    }
    restore
end
