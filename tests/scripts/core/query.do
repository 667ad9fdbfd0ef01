*! args: , nostop
* Would catch: columns that run into each other, a long value that breaks the
* table, a line too wide for a narrow screen, a group that is not found.
set lumolibs "base;math;stat;io;eispack;mine;yours"
query lumo
query tra
set linesize 40
query update
set linesize 79
query nosuch
query tr
query trace more
query abcdefghijklmnopqrstuvwxyzabcdefg
set httpproxypw secret
set
