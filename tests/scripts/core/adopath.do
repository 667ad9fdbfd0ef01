*! args: , nostop
* Would catch: a place that is in the path twice, one that is left behind, a
* failed change that leaves a changed path.
global S_ADO "BASE;.;PERSONAL"
sysdir set PERSONAL "data/my own"
adopath
adopath + "data/ado"
counter now
adopath ++ PERSONAL
adopath ++ "data/a;b"
display `"$S_ADO"'
adopath - 1
adopath - .
adopath - nowhere
adopath - 9
adopath * BASE
adopath + a b
display `"$S_ADO"'
sysdir set PERSONAL
sysdir nosuch
sysdir list more
