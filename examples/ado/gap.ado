*! version 1.0.0  21nov2026
* gap y g: the mean of y where g is 1, less that where g is 0.
program gap
    version 9.2
    local y "`1'"
    local g "`2'"
    if "`g'" == "" {
        display as error "gap needs two variables"
        exit 100
    }
    quietly summarize `y' if `g' == 1
    local mean1 = r(mean)
    quietly summarize `y' if `g' == 0
    local mean0 = r(mean)
    display as text "gap in `y' by `g': " as result %6.2f (`mean1' - `mean0')
end
