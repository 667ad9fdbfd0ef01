* The second part of the tour, for one region: do tour_part2 REGION

version 9.2

local region "`1'"
count if region == "`region'"
summarize wage tenure if region == "`region'"

* A temporary variable goes with the do-file that made it.
tempvar decade
generate byte `decade' = int(age / 10)
summarize wage if `decade' == 3 & region == "`region'"
