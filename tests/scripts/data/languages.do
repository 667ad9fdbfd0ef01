* Would catch: labels lost or mixed up at a switch, a failed subcommand that leaves
* something behind, and characteristics of a language that is gone.
version 9.2
use data/small_lohi
label language
assert r(k) == 1 & "`r(language)'" == "default" & "`r(languages)'" == "default"
local x : variable label x
local g : value label g
local data : data label
assert "`g'" != ""
label language de, new
assert "`: variable label x'`: value label g'`: data label'" == ""
assert "`: char g[_lang_l_default]'" == "`g'" & "`: char _dta[_lang_v_default]'" == "`data'"
assert "`: char _dta[_lang_c]' `: char _dta[_lang_list]'" == "de default"
label variable x "Das x"
label data "Klein"
label language default
assert "`: variable label x'`: value label g'`: data label'" == "`x'`g'`data'"
assert "`: char x[_lang_v_de]'`: char _dta[_lang_v_de]'" == "Das xKlein"
assert "`: char g[_lang_l_default]'`: char _dta[_lang_v_default]'" == ""
label language en, new copy
assert "`: variable label x'`: value label g'`: data label'" == "`x'`g'`data'"
label language
assert r(k) == 3 & "`r(language)'" == "en" & "`r(languages)'" == "en de default"
* Refusals change nothing.
capture noisily label language fr
display _rc
capture noisily label language fr, delete
display _rc
capture noisily label language de, new
display _rc
capture noisily label language de, rename
display _rc
capture noisily label language de, copy
display _rc
capture noisily label language fr, new rename
display _rc
capture noisily label language a_name_of_25_characters___, new
display _rc
label language en
label language english, rename
assert "`: char _dta[_lang_c]' `: char _dta[_lang_list]'" == "english de default"
* The language in use may go; the first other one takes its place.
label language english, delete
assert "`: variable label x'`: data label'" == "Das xKlein"
label language default, delete
assert "`: char x[]'`: char g[_lang_l_default]'`: char _dta[_lang_list]'" == "`: char x[]'"
capture noisily label language de, delete
display _rc
label language
assert r(k) == 1 & "`r(language)'" == "de"
label variable x "kept"
assert "`: variable label x'" == "kept"
