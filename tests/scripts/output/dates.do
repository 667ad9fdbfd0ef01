* Would catch: a date a day off, a code that shows another field, a bad format
* taken, a width that depends on the value.
display "|" %d 0 "|" %td 17440 "|" %tw 0 "|" %tm 0 "|" %tq 0 "|" %th 0 "|" %ty 1960 "|"
display "|" %tdM_d,_cY 17440 "|" %-tdM_d,_cY 17440 "|" %tdN/D/Y 17440 "|"
display "|" %tdA,_e 17440 "|" %tdL!-l!-m 17440 "|" %tdcY.J 17440 "|" %tdcY!wW 17440 "|"
display "|" %tqcY!qq 191 "|" %thcY_!hh -1 "|" %twD/N/cY 51 "|" %tg 1.5 "|"
* Fractions of a day belong to it; what no calendar has is missing.
display "|" %td .99 "|" %td -.01 "|" %td 3000000 "|" %td . "|" %-td .b "|" %tm -99999 "|"
display string(17440, "%tdD!.N!.cY") "|" string(1, "%tdX") "|"
program codes
    while "`1'" != "" {
        capture display `1' 1
        display "`1' " _rc
        macro shift
    }
end
codes %tdX %tz %td! %t %~d %tgD
