* A format that does not suit every variable of the list changes none of them.
set obs 2
generate day = 17000 + _n
generate double x = 1234.5678 * _n
generate str5 s = "ab"
format day %tdD/N/CY
format %9,2fc x
format s %-8s
format
list
capture noisily format day x s %9.1f
display _rc " " "`: format day'"
capture noisily format day %tdz
display _rc
capture noisily format day %tdD!-m!-CY_A_x
display _rc
capture noisily format %td
display _rc
capture noisily format nosuch %td
display _rc
format day-x %9.0g
format day x
