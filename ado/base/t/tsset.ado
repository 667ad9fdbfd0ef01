*! version 9.2.0  21nov2026
* tsset [[panelvar] timevar] [, daily ... generic format(%fmt) clear]: declares
* which variable is the time. debug tsset looks at the data, stores what it finds,
* and leaves in s(order) what they must be sorted by.
program tsset
    version 9.2
    capture debug tsset `0'
    local code = _rc
    if `code' == 5 {
        capture sort `s(order)'
    }
    if `code' {
        debug tsset `0'
    }
    if "`r(timevar)'" == "" {
        exit
    }
    if "`r(panelvar)'" != "" {
        display as text _col(8) "panel variable:  " as result "`r(panelvar)', `r(imins)' to `r(imaxs)'"
    }
    local gaps
    if r(gaps) {
        local gaps ", but with gaps"
    }
    display as text _col(9) "time variable:  " as result "`r(timevar)', `r(tmins)' to `r(tmaxs)'`gaps'"
end
