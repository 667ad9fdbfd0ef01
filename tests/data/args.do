display `"0: `0'"'
display `"1: `1'  2: `2'  3: `3'"'
