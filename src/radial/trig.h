#pragma once

namespace netloom {

// Sine, cosine and two-argument arctangent of doubles computed with IEEE
// +, -, *, / and bit manipulation only, so one source gives the same bits with
// every compiler, C library and platform (glibc, musl, macOS, WebAssembly).
// Accurate to within 1 ulp for the arguments the layouts meet; NaN and
// infinite arguments give what the C library gives.
double Sin(double x);
double Cos(double x);
double Atan2(double y, double x);

} // namespace netloom
