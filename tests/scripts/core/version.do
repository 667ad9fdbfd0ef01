*! args: , nostop
* Would catch: a version that outlives its level or its prefix.
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
* Dates behind that of this program are refused.
version 9.2, born(20 Jul 2007)
version 9.2, born(21 Jul 2007)
version 9.2, born(30 Feb 2007)
version abc
version 9.2, nosuch
if 0 version 7: if 1 {
    display "must not run"
}
version
