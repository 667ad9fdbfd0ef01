* Would catch: a trace setting that changes nothing, or the wrong part of a line.
program inner
    display "in `1'"
end
program outer
    foreach x in a b {
        inner `x'
    }
end
set tracenumber on
set tracehilite "inner"
set tracedepth 1
set trace on
outer
set trace off
set tracedepth 32000
set tracenumber off
set tracesep off
set traceindent off
set traceexpand off
set tracehilite ""
set trace on
outer
set trace off
