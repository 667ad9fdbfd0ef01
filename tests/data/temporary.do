tempvar x
generate `x' = 1
