*! version 9.2.0  21nov2026
* notes: notes on variables and on the dataset. They are the characteristics note1, note2, ... of
* their owner, a variable or _dta; note0 is the number of the last one.
program notes
    version 9.2
    * With a colon behind one word or none, a note is added; else a list in quotes might come.
    gettoken head tail : 0, parse(":")
    local words : word count `head'
    if substr(`"`0'"', 1, 1) == ":" {
        _notes_add _dta `0'
        exit
    }
    if `"`tail'"' != "" & `words' <= 1 {
        _notes_add `head' `tail'
        exit
    }
    gettoken word rest : 0
    if `"`word'"' == "drop" {
        _notes_drop `rest'
        exit
    }
    if `"`word'"' == "renumber" {
        _notes_renumber `rest'
        exit
    }
    if `"`word'"' == "list" {
        _notes_list `rest'
        exit
    }
    _notes_list `0'
end

* owner : text
program _notes_add
    version 9.2
    gettoken owner rest : 0
    gettoken colon text : rest, parse(" :")
    if substr(`"`text'"', 1, 1) == " " {
        gettoken colon text : text, quotes
        local text `"`colon'`text'"'
    }
    if `"`text'"' == "" {
        error 198
    }
    local now "`c(current_date)' `c(current_time)'"
    local now = substr("`now'", 1, length("`now'") - 3)
    local text : subinstr local text "TS" "`now'", all word
    local n : char `owner'[note0]
    if "`n'" == "" {
        local n 0
    }
    local ++n
    char define `owner'[note`n'] `"`text'"'
    char define `owner'[note0] `n'
end

* [owners] [in range], into the caller's macros owners, first, last
program _notes_parse
    version 9.2
    local owners ""
    local range ""
    gettoken word rest : 0
    while `"`word'"' != "" & `"`word'"' != "in" {
        local owners `"`owners' `word'"'
        gettoken word rest : rest
    }
    if `"`word'"' == "in" {
        gettoken range extra : rest
        gettoken slash more : extra
        if substr(`"`slash'"', 1, 1) == "/" | substr(`"`range'"', -1, 1) == "/" {
            local range `"`range'`slash'"'
            gettoken slash extra : more
            local range `"`range'`slash'"'
            local more `"`extra'"'
            local slash ""
        }
        if `"`range'"' == "" | `"`slash'`more'"' != "" {
            error 198
        }
    }
    local first 1
    local last .
    if `"`range'"' != "" {
        gettoken first rest : range, parse("/")
        gettoken slash last : rest, parse("/")
        if "`slash'" == "" {
            local last `first'
        }
        if "`first'" == "f" | "`first'" == "F" {
            local first 1
        }
        if "`last'" == "f" | "`last'" == "F" {
            local last 1
        }
        if "`first'" == "l" | "`first'" == "L" {
            local first -1
        }
        if "`last'" == "l" | "`last'" == "L" {
            local last .
        }
        capture assert (`first' >= 1 | `first' == -1) & `first' < . & `last' >= 1 & `first' <= `last'
        if _rc {
            display as error "Obs. nos. out of range"
            exit 198
        }
    }
    c_local owners `"`owners'"'
    c_local first `first'
    c_local last `last'
end

* the first and the last note in range of an owner, into the caller's macros from and to
program _notes_range
    version 9.2
    local owner `1'
    local first `2'
    local last `3'
    local n : char `owner'[note0]
    if "`n'" == "" {
        local n 0
    }
    if `first' == -1 {
        local first `n'
    }
    if `last' > `n' {
        local last `n'
    }
    c_local from `first'
    c_local to `last'
end

program _notes_list
    version 9.2
    _notes_parse `0'
    if `"`owners'"' == "" {
        quietly char list _dta[note0]
        local list "`r(owners)'"
        if c(k) > 0 {
            quietly char list _all[note0]
            local list "`list' `r(owners)'"
        }
    }
    else {
        quietly char list `owners'[note0]
        local list "`r(owners)'"
    }
    gettoken owner list : list
    while "`owner'" != "" {
        _notes_range `owner' `first' `last'
        local shown 0
        while `from' <= `to' {
            local text : char `owner'[note`from']
            if `"`text'"' != "" {
                if !`shown' {
                    display as text _newline "`owner':"
                    local shown 1
                }
                local number : display %3.0f `from'
                display as text "{p 2 7 2}" _continue
                display as text "`number'.{space 2}" _continue
                display as result _asis `"`text'"' _continue
                display as text "{p_end}"
            }
            local ++from
        }
        gettoken owner list : list
    }
end

* owners [in range]
program _notes_drop
    version 9.2
    _notes_parse `0'
    if `"`owners'"' == "" {
        error 198
    }
    quietly char list `owners'[note0]
    local list "`r(owners)'"
    local dropped 0
    gettoken owner list : list
    while "`owner'" != "" {
        _notes_range `owner' `first' `last'
        while `from' <= `to' {
            local text : char `owner'[note`from']
            if `"`text'"' != "" {
                char define `owner'[note`from']
                local ++dropped
            }
            local ++from
        }
        local n : char `owner'[note0]
        local text ""
        while `n' > 0 & `"`text'"' == "" {
            local text : char `owner'[note`n']
            if `"`text'"' == "" {
                local --n
            }
        }
        if `n' == 0 {
            local n ""
        }
        char define `owner'[note0] `n'
        gettoken owner list : list
    }
    local s = cond(`dropped' == 1, "", "s")
    display as text "  (`dropped' note`s' dropped)"
end

* owner: its notes are 1, 2, ... again
program _notes_renumber
    version 9.2
    gettoken owner rest : 0
    if `"`owner'"' == "" | `"`rest'"' != "" {
        error 198
    }
    local n : char `owner'[note0]
    if "`n'" == "" {
        exit
    }
    local to 0
    local from 1
    while `from' <= `n' {
        local text : char `owner'[note`from']
        if `"`text'"' != "" {
            local ++to
            if `to' < `from' {
                char define `owner'[note`to'] `"`text'"'
                char define `owner'[note`from']
            }
        }
        local ++from
    }
    if `to' == 0 {
        local to ""
    }
    char define `owner'[note0] `to'
end
