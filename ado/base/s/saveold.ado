*! version 9.2.0  21nov2026
* saveold [filename] [, replace nolabel orphans all midrange]: save in the older
* format. The data in memory stay, with the missing values that it lacks.
program saveold
    version 9.2
    * A comma within the quotes of the name begins no options.
    local rest : subinstr local 0 `""`1'""' ""
    local plain : subinstr local rest "," ""
    local rest : length local rest
    local plain : length local plain
    if `plain' == `rest' {
        local comma ,
    }
    preserve
    save `0'`comma' oldformat
    restore
end
