*! version 9.2.0  21nov2026
* adopath: shows the places where ado-files are looked for, or changes them in S_ADO.
*     adopath, adopath + place, adopath ++ place, adopath - place, adopath - #
* A place is a directory or a codeword of sysdir. + puts it at the end, ++ at the front; a place
* that is there already moves.
program adopath
    version 9.2
    gettoken sign rest : 0, parse(" +-")
    if `"`sign'"' == "" {
        _adopath_list
        exit
    }
    if "`sign'" != "+" & "`sign'" != "-" {
        error 198
    }
    if "`sign'" == "+" & substr(`"`rest'"', 1, 1) == "+" {
        gettoken plus rest : rest, parse(" +")
        local sign "++"
    }
    gettoken place rest : rest
    if `"`place'"' == "" | `"`rest'"' != "" {
        error 198
    }
    _adopath_change `sign' `"`place'"'
    _adopath_list
end

* sign place
program _adopath_change
    version 9.2
    local place `"`2'"'
    local path `"$S_ADO"'
    local kept ""
    local n 0
    local found 0
    while `"`path'"' != "" {
        gettoken one path : path, parse(";")
        local one `one'
        if `"`one'"' == ";" | `"`one'"' == "" continue
        local ++n
        if `"`one'"' == `"`place'"' | ("`1'" == "-" & "`n'" == `"`place'"') {
            local found 1
            continue
        }
        if strpos(`"`one'"', ";") local one `""`one'""'
        local kept `"`kept';`one'"'
    }
    if "`1'" == "-" & !`found' {
        display as error `"`place' not found in the ado-path"'
        exit 111
    }
    if strpos(`"`place'"', ";") local place `""`place'""'
    if "`1'" == "+" local kept `"`kept';`place'"'
    if "`1'" == "++" local kept `";`place'`kept'"'
    local kept : subinstr local kept ";" ""
    local bytes : _length kept
    if `bytes' > 5400 {
        display as error "the ado-path would be too long"
        exit 198
    }
    global S_ADO `"`kept'"'
end

program _adopath_list
    version 9.2
    local path `"$S_ADO"'
    local n 0
    while `"`path'"' != "" {
        gettoken one path : path, parse(";")
        local one `one'
        if `"`one'"' == ";" | `"`one'"' == "" continue
        local ++n
        local directory ""
        if upper(`"`one'"') == `"`one'"' capture local directory : sysdir `one'
        if `"`directory'"' == "" {
            display as text "  [`n']" _col(21) as result `""`one'""'
            continue
        }
        display as text "  [`n']  (`one')" _col(21) as result `""`directory'""'
    }
end
