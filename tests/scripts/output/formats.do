* Would catch: a digit, sign or blank too many or too few.
program show
    while "`1'" != "" {
        display "|" `1' `2' "|" _continue
        macro shift 2
    }
    display ""
end
* As many digits as fit; what does not fit goes into exponent form.
show %9.0g 123456789012 %9.0g .000012345678 %9.0g .5 %9.0g 0 %9.0g 1e-9
show %9.0g -1234567 %9.0g 12345678 %9.0g 1234567.8 %9.0g -.1 %9.0g 9999999.5
show %9.0g 3.14159265 %-9.0g 3.14159265 %-9.0g -2.5 %9.0g .z %-9.0g .
show %10.0gc 1234567 %12.0gc 1234567 %12.0gc 12345.678 %9.0gc 1234
* Significant digits.
show %9.2g 3.14159 %9.2g 123.456 %9.2g .0123 %9.2g .00001 %9.2g 12345678
* Fixed: a column too narrow widens to 8, then gives way to an exponent.
show %9.2f 1234.567 %6.2f 1234.5 %4.2f 123456.78 %4.1f .25 %4.1f -.25
show %8.0f 2.5 %8.0f .4 %5.0f 99999.5 %05.1f 2.5 %05.1f -2.5 %-8.2f 2.5
show %12.2fc 1234567.891 %11.2fc 1234567.891 %9.2fc 1234567.891
show %9.2fc 999.996 %9.2fc -1234.5 %8.2fc -1234.5
* Exponents.
show %10.3e 12345.678 %12.2e 12345.678 %9.0e -1 %12.4e 1e200 %-12.2e 1
* A comma for the point.
show %9,2f 1234.5 %9,2fc 1234.5 %9,0g .5
set dp comma
show %9.2fc 1234.5 %9.0g 1.5 %9,2f 1.5
set dp period
* The bits.
show %21x 1 %21x -.1 %21x 0
show %16H 1 %16L 1 %8H 1 %8L 1
display string(1/3) " " string(1234567.8) " " string(.5, "%4.2f") "|"
display "[" string(2, "%9s") string(2, "%q") "]"
