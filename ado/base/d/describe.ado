*! version 9.2.0  21nov2026
* describe [varlist] [, options]: what the data are. All of it is built in.
program describe
    version 9.2
    _describe `0'
end
