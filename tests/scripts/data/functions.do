* Would catch: a function that is another than its name says, dates off by one,
* orders of day, month and year mixed up, a tail without its digits, a regular
* expression whose parts come from another observation.
set obs 4
* --- dates: 1960 was a leap year that began on a Friday ---
assert mdy(1,1,1960) == 0 & mdy(12,31,1959) == -1 & mdy(3,1,1960) == 60
assert mdy(2,29,1900) == . & mdy(2,29,2000) == 14669 & mdy(13,1,2000) == .
assert dow(0) == 5 & dow(-5) == 0 & dow(-6) == 6 & dow(.a) == .
assert day(60) == 1 & month(60) == 3 & year(60) == 1960 & doy(60) == 61
assert yofd(-1) == 1959 & doy(-1) == 365 & quarter(-1) == 4 & halfyear(-1) == 2
assert week(365) == 52 & week(6) == 1 & week(7) == 2
assert wofd(366) == 52 & mofd(-1) == -1 & qofd(91) == 1 & hofd(182) == 1
assert dofw(53) == 373 & dofm(1) == 31 & dofq(-1) == -92 & dofh(1) == 182
assert dofy(1961) == 366 & dofd(7) == 7 & dofd(2936551) == . & year(-679350) == 100
assert year(-679351) == . & yw(1961,1) == 52 & ym(1959,12) == -1 & yq(1990,1) == 120
assert yh(1960,2) == 1 & ym(1960,13) == . & yq(1960,0) == .
* --- dates that are read ---
assert date("31jan1960","dmy") == 30 & date("January 31, 1960","mdy") == 30
assert date("1960/1/31","ymd") == 30 & date("19600131","ymd") == 30 & daily("310160","dm19y") == 30
assert date("31-01-60","DMY") == . & date("31-01-60","dmy",1999) == 30
assert date("1/1/00","mdy",2010) == mdy(1,1,2000) & date("1/1/11","mdy",2010) == mdy(1,1,1911)
assert date("30feb2000","dmy") == . & date("","dmy") == . & date("1jan1960","dd") == .
assert date("1jan1960 x","dmy") == . & date("janu 5 1960","mdy") == 4 & date("ja 5 1960","mdy") == .
assert monthly("1960m3","ym") == 2 & monthly("march 1960","my") == 2 & monthly("3/60","my",1970) == 2
assert quarterly("1960q2","yq") == 1 & quarterly("2q1960","qy") == 1 & quarterly("1960q5","yq") == .
assert weekly("1961w2","yw") == 53 & halfyearly("1959h2","yh") == -1 & yearly("1999","y") == 1999
assert yearly("99","y",2010) == 1999 & yearly("99","y") == .
assert d(31jan1960) == 30 & w(1960w2) == 1 & m(1960m2) == 1 & q(1959q4) == -1 & h(1960h1) == 0
assert y(1984) == 1984
capture noisily display d(31feb1960)
display _rc
capture noisily display tin(1, 2)
display _rc
capture noisily display date("1jan1960")
display _rc
* --- distributions: values known in closed form ---
assert normal(0) == .5 & reldif(normalden(0), 1/sqrt(2*_pi)) < 1e-15
assert normalden(1,2) == normalden(1,0,2) & reldif(normalden(1,2), normalden(.5)/2) < 1e-15
assert reldif(lnnormalden(3), ln(normalden(3))) < 1e-14 & normalden(1,0) == .
assert abs(chi2tail(2,6)/exp(-3) - 1) < 1e-15 & abs(chi2tail(2,1200)/exp(-600) - 1) < 1e-12
assert abs(ttail(1,1e200)*_pi*1e200 - 1) < 1e-15 & abs(Ftail(2,2,1e250)*1e250 - 1) < 1e-14
assert abs(invttail(1,.25) - 1) < 1e-15 & tprob(1,1) == .5 & abs(invFtail(2,2,.2) - 4) < 1e-14
assert abs(binormal(0,0,.5) - 1/3) < 1e-16 & abs(binormal(0,0,-.5) - 1/6) < 1e-16
assert Binomial(3,2,.5) == .5 & abs(invbinomial(2,2,.25) - .5) < 1e-15 & comb(5,2) == 10
assert reldif(gammap(1,2), 1 - exp(-2)) < 1e-15 & abs(dgammapdx(1,2) - exp(-2)) < 1e-16
assert ibeta(1,1,.3) == .3 & betaden(1,1,.3) == 1 & abs(F(2,2,1) - .5) < 1e-16
assert nchi2(4,0,3) == chi2(4,3) & nFtail(3,9,0,2) == Ftail(3,9,2) & nibeta(2,3,0,.4) == ibeta(2,3,.4)
assert abs(npnchi2(4,9,nchi2(4,2.5,9)) - 2.5) < 1e-12
assert fprob(3,9,2) == Ftail(3,9,2) & chiprob(3,2) == chi2tail(3,2) & normprob(1) == normal(1)
assert chi2(3,.) == . & chi2(-1,2) == . & Ftail(3,.a,2) == . & chi2(3,-1) == 0 & chi2tail(3,-1) == 1
version 6: assert abs(invt(1,.5) - 1) < 1e-15 & abs(invchi(2,exp(-3)) - 6) < 1e-14
capture noisily display invt(1,.5)
display _rc
* --- strings ---
generate str12 s = "ab" + string(_n) + "-x" + string(_n*10)
generate str4 a = regexs(1) if regexm(s, "([0-9]+)-")
generate str4 b = regexs(1) if regexm(s, "x([0-9]+)$")
* Arguments are worked out from the last on, so this one is an observation behind.
generate str4 late = cond(regexm(s, "x([0-9]+)$"), regexs(1), "")
assert late == string((_n-1)*10) if _n > 1
generate str12 c = regexr(s, "[a-z]+", "Q")
assert a == string(_n) & b == string(_n*10)
assert c == "Q" + string(_n) + "-x" + string(_n*10)
assert regexm("ab", "[") == . & regexr("ab", "[", "x") == "" & regexs(1) == ""
count if regexm(s, "b(.)") & regexs(1) > "2"
assert r(N) == 2
assert strsubdp("1.5") == "1.5"
* --- constants beside variables, in one block ---
generate double t = ttail(_n, -(-2))
assert t == ttail(_n, 2)
display "done"
