*! version 9.2.0  21nov2026
* recast type varlist [, force]: another storage type. All of it is built in.
program recast
    version 9.2
    debug recast `0'
end
