* Would catch: text split elsewhere than its separators and groups say.
local c `"one "two three" four"'
gettoken a c : c
gettoken b rest : c
display `"[`a'][`b'][`rest']"'
gettoken a : c, quotes
display `"[`a']"'
local none
gettoken a b : none
display "[`a'][`b']"
local e "x=y+1, (a b) [c]"
gettoken a e : e, parse("=,")
gettoken b e : e, parse("=,")
gettoken d e : e, parse("=,")
display "[`a'][`b'][`d'][`e']"
local m "(a (b) c) d"
gettoken a m : m, match(par)
display "[`a'][`par'][`m']"
gettoken a m : m, match(par)
display "[`a'][`par'][`m']"
local q `"(a ")" b) c"'
gettoken a q : q, match(par)
display `"[`a'][`q']"'
local f "by(a b) c"
gettoken a f : f, bind
display "[`a'][`f']"
local f "(a b"
capture noisily gettoken a f : f, match(par)
display _rc
gettoken (global) g (local) r : f
display "[$g][`r']"
* tokenize, args.
tokenize "a b,c", parse(" ,")
display "[`1'][`2'][`3'][`4'][`5']"
tokenize `""x y" z"'
display "[`1'][`2'][`3'][`4']"
tokenize p q
display "[`1'][`2'][`3']"
capture noisily tokenize "open
display _rc
program first
    args a b
    display "[`a'][`b']"
end
first one
first "one two" three four
capture noisily args 1-x
display _rc
* _parse.
local text `"x y (a, b) "c, d", opt(e, f) g"'
_parse comma l r : text
display `"[`l'][`r']"'
local text "a  b (c) b(d) title( e f )"
_parse canonicalize out : text
display "[`out']"
_parse combop out : text, option(b)
display "[`out']"
_parse combop out : text, option(b) rightmost
display "[`out']"
_parse factor out rest : text, option(a title)
display "[`out'][`rest']"
local more "b(z) q"
_parse combine out : text more
display "[`out']"
local conn "connect(l . i) x"
_parse factordot c : conn, option(connect)
display "[`c_n'][`c_1'][`c_2'][`c_3']"
local plots "(line y x, sort) (scatter y x) if x, by(g)"
_parse expand p rest : plots
display "[`p_n'][`p_1'][`p_2'][`rest']"
local plots "line y x || scatter y x, m(|) ||"
_parse expand p rest : plots
display "[`p_n'][`p_1'][`p_2'][`rest']"
local text "a(b]"
capture noisily _parse canonicalize out : text
local text "a[b)"
capture noisily _parse canonicalize out : text
local text "a(b"
capture noisily _parse canonicalize out : text
local text "a)b"
capture noisily _parse canonicalize out : text
local text `"a"b"'
capture noisily _parse canonicalize out : text
display _rc
