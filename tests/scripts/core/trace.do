* Would catch: a level that shows one of its two ends only, lines at the
* wrong depth, a line shown again that its macros left as it was.
program inner
    display "in `1'"
end
program outer
    inner x
end
set trace on
outer
run data/noisy
quietly outer
set trace off
outer
