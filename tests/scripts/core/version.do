*! args: , nostop
// A version that outlives its level or its prefix.
version
program seven
    version 7
    version
end
seven
version 8.2: version
version
version 9, missing
version
version 10
// this is version 9.2 of Korva; it cannot run version 10.0 programs, 9
version 9.2, born(20 Jul 2007)
version 9.2, born(21 Jul 2007)
// you must update the Korva executable to run this program, 9
version 9.2, born(30 Feb 2007)
// "30 Feb 2007" invalid date, 198
version abc
// invalid syntax, 198
version 9.2, nosuch
// option nosuch not allowed, 198
if 0 version 7: if 1 {
    display "must not run"
}
version
