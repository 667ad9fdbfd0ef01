label define yn -4 "minus", modify
label define yn 3 "trois", modify
label define yn 5 "five", modify
label define yn 6 "twelve bytes", modify
label define yn 7 "thirteen bytes", modify
label define yn .a "none", modify
label define odd 1 `"a "quoted" word"', modify
label define odd 2 `"cost \$5 \`x'"', modify
