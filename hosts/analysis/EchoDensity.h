// How close the echoes of a reverb follow each other.
//
// The normalised echo density of J. S. Abel and P. Huang, "A simple, robust measure of
// reverberation echo density" (AES 121, 2006): in a window around t, the weighted share of samples
// that are beyond one standard deviation, divided by what it is for Gaussian noise,
//   sum of w(u) [|h(u)| > s] / erfc(1 / sqrt 2)   with   s^2 = sum of w(u) h(u)^2
// and weights w that sum up to 1. Single echoes give almost 0, a diffuse tail 1.
#pragma once

#include "SoundView.h"

inline constexpr f64 k_echoWindow = 0.02; // s, the Hann window's length

// The density around each of `times` (seconds), the mean of the channels: 0 to 1 / erfc(1 / sqrt
// 2), that is 3.15. At both ends the part of the window counts that holds sound; 0 in silence and
// outside.
std::vector<f32> findEchoDensity(const SoundView& sound, std::span<const f64> times);
