#!/usr/bin/env python3
"""Writes tests/unit/data/special_values.inc: special functions to 25 digits, by mpmath.

usage: make_special_values.py > tests/unit/data/special_values.inc

Every value is computed from a definition or a series of positive terms with enough digits that
what cancels does not matter; none comes from the methods of src/data/special_*.cpp.
"""
from mpmath import mp, mpf, inf, exp, log, sqrt, pi, erfc, gamma, loggamma, psi, binomial, quad, diff

mp.dps = 45


def lower_gamma(a, x):
    """P(a, x) = x^a e^-x / gamma(a + 1) (1 + x/(a+1) + ...)"""
    term = total = mpf(1)
    n = 0
    while term > total * mpf(10) ** -(mp.dps + 2) or n < x - a:
        n += 1
        term *= x / (a + n)
        total += term
    return exp(a * log(x) - x - loggamma(a + 1)) * total


def upper_gamma(a, x):
    # 1 - P loses about as many digits as the exponent of the tail has.
    lost = (x - a - a * log(x / a)) / log(10) if x > a else 0
    with mp.workdps(80 + int(lost)):
        return 1 - lower_gamma(a, x)


def beta_series(a, b, x):
    """I_x(a, b) = x^a (1-x)^b / (a B(a, b)) (1 + x (a+b)/(a+1) + ...)"""
    term = total = mpf(1)
    n = 0
    while True:
        n += 1
        ratio = x * (a + b + n - 1) / (a + n)
        term *= ratio
        total += term
        if ratio < 1 and term < total * mpf(10) ** -(mp.dps + 5) * (1 - x):
            break
    log_front = a * log(x) + b * log(1 - x) - log(a) - loggamma(a) - loggamma(b) + loggamma(a + b)
    return exp(log_front) * total


def lower_beta(a, b, x):
    """By the series, or 1 less the other one, with as many digits more as that loses."""
    if x <= 0.5:
        return beta_series(a, b, x)
    front = a * log(x) + b * log(1 - x) - loggamma(a) - loggamma(b) + loggamma(a + b)
    with mp.workdps(mp.dps + 10 + max(0, int(-front / log(10)))):
        return 1 - beta_series(b, a, 1 - x)


def upper_beta(a, b, x):
    with mp.workdps(80):
        return lower_beta(b, a, 1 - x)


def gamma_density(a, x):
    return exp((a - 1) * log(x) - x - loggamma(a))


def beta_density(a, b, x):
    return exp((a - 1) * log(x) + (b - 1) * log(1 - x) + loggamma(a + b) - loggamma(a) - loggamma(b))


def f_place(m, n, f):
    return m * f / (n + m * f)


def t_tail(n, t):
    with mp.workdps(80):
        half = lower_beta(n / 2, mpf(1) / 2, n / (n + t * t)) / 2
        return half if t >= 0 else 1 - half


def t_density(n, t):
    return exp(loggamma((n + 1) / 2) - loggamma(n / 2) - (n + 1) / 2 * log(1 + t * t / n)) / sqrt(n * pi)


def mixture(part, l):
    """sum of Poisson weights of mean l/2 times the parts"""
    mean = l / 2
    total = mpf(0)
    weight = exp(-mean)
    j = 0
    last = mpf(0)
    while True:
        now = weight * part(j)
        total += now
        if j > mean and now <= last and now < total * mpf(10) ** -34:
            return total
        last = now
        j += 1
        weight *= mean / j


def normal(x):
    return erfc(-x / sqrt(mpf(2))) / 2


def binormal(h, k, rho):
    """The normal density of x up to h times P(Y <= k given x); in narrow pieces."""
    s = sqrt((1 - rho) * (1 + rho))
    f = lambda x: exp(-x * x / 2) / sqrt(2 * pi) * normal((k - rho * x) / s)
    points = {h - i / mpf(4) for i in range(57)}
    for center in (k / rho if rho else h, rho * k):
        points |= {center + d * s for d in (-9, -4, -1, 0, 1, 4, 9)}
    points = sorted(x for x in points if h - 14 <= x <= h)
    scale = max(f(x) for x in points)  # quad stops by the absolute error
    return scale * quad(lambda x: f(x) / scale, points, maxdegree=6)


def solve(f, low, high):
    """A root in the logarithm of x, by bisection and the secant at the end."""
    low, high = mpf(low), mpf(high)
    sign = f(low) < 0
    for _ in range(105):
        middle = sqrt(low * high)
        if (f(middle) < 0) == sign:
            low = middle
        else:
            high = middle
    return low


ROWS = []


def row(name, value, *x):
    if abs(value) < 1e-323:
        value = mpf(0)  # no double is nearer
    ROWS.append('{"%s", %d, {%s}, %s},' % (name, len(x), ', '.join(repr(float(v)) for v in x),
                                           mp.nstr(value, 25, min_fixed=0, max_fixed=0)))


def rows(name, f, *argument_lists):
    for x in argument_lists:
        row(name, f(*[mpf(v) for v in x]), *x)


half = mpf(1) / 2
X = [-38.4, -37.04, -30.1, -21.3, -8.7, -5, -1.1, -0.3, 0, 0.7, 2.2, 8.1]
rows('normal', normal, *[(x,) for x in X])
rows('lnnormal', lambda x: log(normal(x)), *[(x,) for x in X + [-1000, -1e10]])
rows('normalden', lambda x: exp(-x * x / 2) / sqrt(2 * pi), (0,), (1.3,), (-7.77,), (26.1,), (37.9,))
rows('normalden3', lambda x, m, s: exp(-((x - m) / s) ** 2 / 2) / (s * sqrt(2 * pi)),
     (1, 2, 3), (1000.5, 1000, 0.02), (-5, 3, 0.25))
rows('lnnormalden3', lambda x, m, s: -((x - m) / s) ** 2 / 2 - log(s * sqrt(2 * pi)),
     (1, 2, 3), (1e6, -2, 0.3))
for x in (-37.5, -20.25, -6.5, -1, -0.001, 0.25, 3):
    # the double next to normal(x), and the exact place of that double
    p = float(normal(mpf(x)))
    row('invnormal', mp.findroot(lambda t: log(normal(t)) - log(mpf(p)), mpf(x), tol=mpf(10) ** -80), p)
rows('binormal', binormal, (0, 0, 0.5), (1, -0.5, 0.3), (-1, -2, -0.5), (-5, -5, -0.5), (-5, -6, 0.99),
     (2, 3, 0.999999), (-3, 1.5, -0.95), (-8, -9, 0.8), (0.5, -0.4, -0.999), (1.5, 1.5, 0.9), (-20, -21, 0.5),
     (3, -3, -0.2), (4, -2, 0.6))
rows('lngamma', loggamma, (0.5,), (1e-10,), (3.25,), (171.5,), (1e15,))
rows('digamma', lambda x: psi(0, x), (0.1,), (2.5,), (-3.25,), (100,), (1e-8,), (1e10,), (1.4616,))
rows('trigamma', lambda x: psi(1, x), (0.1,), (2.5,), (-3.25,), (100,), (1e-8,), (1e10,))
rows('lnfactorial', lambda n: loggamma(n + 1), (5,), (170,), (100000,))
rows('comb', binomial, (52, 5), (100, 50), (1000, 400), (1e15, 3), (1028, 514))
GAMMAS = [(0.5, 0.1), (0.001, 1e-5), (2.5, 0.3), (2.5, 40), (10, 9.5), (150, 130), (150, 260), (2000, 2100),
          (1e5, 1e5 + 700), (1e9, 1e9 + 50000), (30, 600), (0.1, 500), (3, 1e-90)]


def upper_or_temme(a, x):
    return upper_gamma(a, x) if a < 1e6 else big_gamma(a, x)


def big_gamma(a, x):
    """1 - P by the integral of the density, which is narrow."""
    f = lambda t: exp((a - 1) * log(t) - t - loggamma(a))
    w = sqrt(a)
    return quad(f, [x] + [x + k * w for k in (1, 2, 3, 4, 6, 8, 11, 15)], maxdegree=8)


rows('gammap', lambda a, x: lower_gamma(a, x) if a < 1e6 else 1 - big_gamma(a, x), *GAMMAS)
rows('chi2', lambda n, x: lower_gamma(n / 2, x / 2), (1, 1e-12), (3.5, 2), (10, 0.001), (200, 100))
rows('chi2tail', lambda n, x: upper_or_temme(n / 2, x / 2), (1, 3.84), (1, 700), (5, 1300), (12.5, 12), (400, 900),
     (2e9, 2e9 + 300000), (1e5, 1e5 - 900))
rows('dgammapdx', gamma_density, (2.5, 40), (0.3, 1e-20), (1000, 990))
DERIVED = [(0.1, 0.003), (0.1, 3), (1, 1), (2.5, 0.1), (2.5, 12), (2.5, 60), (20, 19), (20, 35), (100, 60)]


def by_shape(order):
    def f(a, x):
        with mp.workdps(110):
            return diff(lambda s: lower_gamma(s, x), a, order)
    return f


rows('dgammapda', by_shape(1), *DERIVED)
rows('dgammapdada', by_shape(2), *DERIVED)
rows('dgammapdadx', lambda a, x: gamma_density(a, x) * (log(x) - psi(0, a)), *DERIVED)
rows('dgammapdxdx', lambda a, x: gamma_density(a, x) * ((a - 1) / x - 1), *DERIVED)
rows('gammaden', lambda a, b, g, x: gamma_density(a, (x - g) / b) / b, (2, 3, 1, 5), (0.5, 0.1, -1, 4))
BETAS = [(0.5, 0.5, 0.3), (2, 3, 0.999), (1e-3, 5, 1e-10), (20, 30, 0.01), (20, 30, 0.95), (500, 700, 0.3),
         (1e4, 2e4, 0.34), (3, 1e6, 1e-6), (0.2, 1e3, 0.9), (7.5, 0.01, 0.75), (1e6, 1e6, 0.501)]
rows('ibeta', lower_beta, *BETAS)
rows('betaden', beta_density, *BETAS)
FS = [(1, 1, 0.1), (1, 10, 1e4), (5, 12, 0.02), (5, 12, 90), (3, 1e6, 200), (40, 60, 4.5), (2.5, 3.5, 1e12),
      (1000, 2000, 1.3)]
rows('F', lambda m, n, f: lower_beta(m / 2, n / 2, f_place(m, n, f)), *FS)
rows('Ftail', lambda m, n, f: upper_beta(m / 2, n / 2, f_place(m, n, f)), *FS)
rows('Fden', lambda m, n, f: beta_density(m / 2, n / 2, f_place(m, n, f)) * m * n / (n + m * f) ** 2, *FS)
TS = [(1, 1), (1, 1e200), (3, -2.5), (4.5, 1e-9), (10, 2.2281), (10, 1e6), (1e3, 30), (1e6, 5), (0.1, 100)]
rows('ttail', t_tail, *TS)
rows('tprob', lambda n, t: 2 * t_tail(n, abs(t)), *TS)
rows('tden', t_density, *TS)
rows('Binomial', lambda n, k, p: lower_beta(k, n - k + 1, p), (10, 3, 0.2), (1000, 200, 0.1), (50, 50, 0.01))
row('invchi2tail', solve(lambda x: 1e-20 - upper_gamma(mpf('1.5'), x / 2), 1, 300), 3, 1e-20)
row('invchi2tail', solve(lambda x: 0.05 - upper_gamma(mpf(5), x / 2), 1, 300), 10, 0.05)
row('invgammap', solve(lambda x: lower_gamma(mpf(0.1), x) - mpf(1e-9), mpf(10) ** -120, 1), 0.1, 1e-9)
row('invttail', solve(lambda t: mpf(0.025) - t_tail(mpf(7), t), 0.01, 100), 7, 0.025)
row('invttail', solve(lambda t: mpf(1e-30) - t_tail(mpf(2), t), 1, mpf(10) ** 20), 2, 1e-30)
row('invt', solve(lambda t: 1 - 2 * t_tail(mpf(7), t) - mpf(0.95), 0.01, 100), 7, 0.95)
row('invFtail', solve(lambda f: mpf(0.01) - upper_beta(mpf(2), mpf(15), f_place(4, 30, f)), 0.01, 100), 4, 30, 0.01)
row('invF', solve(lambda f: lower_beta(mpf(2), mpf(15), f_place(4, 30, f)) - mpf(0.01), 1e-9, 100), 4, 30, 0.01)
row('invibeta', solve(lambda x: lower_beta(mpf(2), mpf(5), x) - mpf(1e-6), 1e-9, 0.9), 2, 5, 1e-6)
row('invbinomial', solve(lambda x: lower_beta(mpf(3), mpf(8), x) - mpf(0.25), 1e-9, 0.99), 10, 3, 0.25)


def nchi2(n, l, x):
    return mixture(lambda j: lower_gamma(n / 2 + j, x / 2), l)


def nbeta(a, b, l, x):
    return mixture(lambda j: lower_beta(a + j, b, x), l)


rows('nchi2', nchi2, (3, 2, 4), (3, 200, 1), (1, 50, 120), (0.5, 0.01, 0.2), (30, 10, 1e-8), (4, 30, 3e-20))
row('invnchi2', solve(lambda x: nchi2(mpf(3), mpf(2), x) - mpf(0.95), 1, 100), 3, 2, 0.95)
row('npnchi2', solve(lambda l: mpf(0.05) - nchi2(mpf(4), l, mpf(9)), 1e-3, 100), 4, 9, 0.05)
NB = [(2, 3, 1, 0.5), (0.5, 5, 20, 0.01), (10, 10, 60, 0.9), (1.5, 40, 3, 0.2)]
rows('nibeta', nbeta, *NB)
rows('nbetaden', lambda a, b, l, x: mixture(lambda j: beta_density(a + j, b, x), l), *NB)
NF = [(3, 20, 2, 1.5), (1, 10, 40, 3), (5, 100, 10, 30), (4, 8, 0.5, 200), (2, 50, 150, 0.1)]
rows('nFden', lambda m, n, l, f: mixture(lambda j: beta_density(m / 2 + j, n / 2, f_place(m, n, f)), l) * m * n
     / (n + m * f) ** 2, *NF)
rows('nFtail', lambda m, n, l, f: mixture(lambda j: upper_beta(m / 2 + j, n / 2, f_place(m, n, f)), l), *NF)
row('invnibeta', solve(lambda x: nbeta(mpf(2), mpf(3), mpf(1), x) - mpf(0.2), 1e-6, 0.99), 2, 3, 1, 0.2)
row('invnFtail', solve(lambda f: mpf(0.05) - mixture(lambda j: upper_beta(mpf(1.5) + j, mpf(10), f_place(3, 20, f)),
                                                     mpf(2)), 0.1, 100), 3, 20, 2, 0.05)

print('// Made by tests/tools/make_special_values.py: name, arguments, value.')
print('\n'.join(ROWS))
