display "session started"
log using a
log using b, text name(b)
cmdlog using c
log off
log on
display "logged"
log using a, replace
log close b
log using b, text append name(again)
log close _all
cmdlog close
display "session usable"
display "session usable"
