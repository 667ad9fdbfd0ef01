program unended
    display 1
