program outside
    display "must not run"
end
display "must not show"
