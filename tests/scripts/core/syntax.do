* Would catch: a program's text parsed otherwise than its syntax says.
set obs 5
generate price = _n
generate mpg = _n * 2
generate str4 make = "a"
program typical
    syntax varlist(min=1) [if] [in] [, Detail Level(integer 95) SAVing(string)]
    display `"[`varlist'][`if'][`in'][`detail'][`level'][`saving']"'
end
typical pr mp if price > 2 in 2/4, d level(90) sav(`"my "file""')
typical price-make
typical price, saving(a, b (c)) lev(80)
capture noisily typical
display _rc
capture noisily typical nosuch
display _rc
capture noisily typical price, dx
display _rc
capture noisily typical price, detail(2)
capture noisily typical price, level
capture noisily typical price, level(9.5)
display _rc
capture noisily typical price, sav(a
display _rc
capture noisily typical price [fw=mpg]
display _rc
capture noisily typical price using x
capture noisily typical price if
capture noisily typical price in 4/9
capture noisily typical price if price if mpg
* Elements of the list.
program lists
    syntax [varlist(numeric max=2)] [using/] [=/exp] [, *]
    display `"[`varlist'][`using'][`exp'][`options']"'
end
capture noisily lists
display _rc
lists mpg = price + 1, a b(c d)  e="x"
lists mpg using "a b.dta"
capture noisily lists price mpg price
display _rc
program empties
    syntax [varlist(default=none)] [fweight aweight/ =exp]
end
capture noisily empties
display _rc
program weights
    syntax [varlist(default=none)] [using] [aw fw] [if/]
    display "[`varlist'][`using'][`weight'][`exp'][`if']"
end
weights [fw=price+1] if price==2 using abc
weights price [w=mpg]
capture noisily weights [pw=mpg]
capture noisily weights [fw=mpg] [aw=mpg]
display _rc
program new
    syntax newvarlist(max=3) =exp
    display "[`varlist'][`typlist'][`exp']"
end
new a double b = price
new int (x1-x2) = 1
display c(k)
capture noisily new price = 1
display _rc
capture noisily new a b c d = 1
display _rc
capture noisily new a
display _rc
program names
    syntax namelist(min=2 id="set name") [, As(name) Groups(namelist max=2)]
    display "[`namelist'][`as'][`groups']"
end
names one two, as(x) g(p q)
capture noisily names one
display _rc
capture noisily names one 2x
capture noisily names one two, as(x y)
capture noisily names one two, g(p q r)
display _rc
program free
    syntax anything(equalok name=text) [if] [, noHEader]
    display `"[`text'][`if'][`header']"'
end
free (a, b if c) = "d, e" if price, nohe
free a b, header
capture noisily free
display _rc
* Options with arguments.
program opts
    syntax , Gen(name) [Cuts(numlist ascending integer >=0 max=4) by(varlist) over(varname numeric) new(newvarname) Real(real -1.5) text(string asis) Save(passthru) Cilevel(cilevel) Robust Robust2(string)]
    display `"[`gen'][`cuts'][`by'][`over'][`new'][`real'][`text'][`save'][`cilevel'][`robust'][`robust2']"'
end
opts, gen(x)
opts, g(x) c(1 3/4) by(pr make) over(mpg) new(z) r(1e-3) text("a" b) s(f, replace) cil(90) r
opts, g(x) robust(hc3) robust r(2) real(3)
capture noisily opts, c(1)
display _rc
capture noisily opts, g(x) c(3 2)
display _rc
capture noisily opts, g(x) c(1/9)
capture noisily opts, g(x) c(-1)
capture noisily opts, g(x) by(nosuch)
display _rc
capture noisily opts, g(x) by()
display _rc
capture noisily opts, g(x) over(make)
display _rc
capture noisily opts, g(x) over(price mpg)
capture noisily opts, g(x) new(price)
display _rc
capture noisily opts, g(x) cil(5)
capture noisily opts, g(x) real(one)
* Faults of the picture are the program's own.
capture noisily syntax [if] [if]
display _rc
capture noisily syntax varlist [fweight] [=exp]
capture noisily syntax varlist(min=x)
capture noisily syntax , A(strange)
capture noisily syntax , * A
display _rc
* Old programs set the forms themselves.
program old
    local varlist "req ex max(1)"
    local if "opt"
    local options "Detail Level(integer 95)"
    parse "`*'"
    display "[`varlist'][`if'][`detail'][`level']"
end
old mpg if price > 1, det
capture noisily old mpg price
* Under by, in is refused: the group is the range.
program grouped, byable(recall)
    syntax [varlist] [in]
    display "[`varlist'][`in']"
end
use data/groups, clear
by town: grouped year
capture noisily by town: grouped in 1
display _rc
* Operators stand in lists that take them, in their canonical form.
clear
set obs 3
generate t = _n
tsset t
program lags
    syntax varlist(ts) [, by(varlist ts) plain(varlist)]
    display "[`varlist'][`by']"
end
capture noisily lags L(1/2).t D.t, by(F.t)
capture noisily lags t, plain(L.t)
display _rc
