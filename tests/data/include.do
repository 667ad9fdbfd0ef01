local included "yes"
display "outer is `outer'"
