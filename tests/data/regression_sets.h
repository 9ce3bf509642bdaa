// SPDX-License-Identifier: Apache-2.0
// Regression sets with certified solutions, from the Statistical Reference Datasets of the (United States) National
// Institute of Standards and Technology: Longley's economic series, Filippelli's polynomial, Wampler's polynomials.
#ifndef QUORVEL_TESTS_DATA_REGRESSION_SETS_H_
#define QUORVEL_TESTS_DATA_REGRESSION_SETS_H_

#include <string>
#include <vector>

namespace quorvel::test {

struct RegressionSet {
  std::string name;
  std::vector<std::vector<double>> rows;  // of the design matrix, with the constant
  std::vector<double> y, certified;
};

inline RegressionSet polynomial(std::string name, const std::vector<double>& x, std::vector<double> y,
                                std::vector<double> certified) {
  RegressionSet set{std::move(name), {}, std::move(y), std::move(certified)};
  for (const double at : x) {
    std::vector<double> row{1};
    while (row.size() < set.certified.size()) row.push_back(row.back() * at);
    set.rows.push_back(row);
  }
  return set;
}

inline RegressionSet longley() {
  return {
      "Longley",
      {{1, 83.0, 234289, 2356, 1590, 107608, 1947},
       {1, 88.5, 259426, 2325, 1456, 108632, 1948},
       {1, 88.2, 258054, 3682, 1616, 109773, 1949},
       {1, 89.5, 284599, 3351, 1650, 110929, 1950},
       {1, 96.2, 328975, 2099, 3099, 112075, 1951},
       {1, 98.1, 346999, 1932, 3594, 113270, 1952},
       {1, 99.0, 365385, 1870, 3547, 115094, 1953},
       {1, 100.0, 363112, 3578, 3350, 116219, 1954},
       {1, 101.2, 397469, 2904, 3048, 117388, 1955},
       {1, 104.6, 419180, 2822, 2857, 118734, 1956},
       {1, 108.4, 442769, 2936, 2798, 120445, 1957},
       {1, 110.8, 444546, 4681, 2637, 121950, 1958},
       {1, 112.6, 482704, 3813, 2552, 123366, 1959},
       {1, 114.2, 502601, 3931, 2514, 125368, 1960},
       {1, 115.7, 518173, 4806, 2572, 127852, 1961},
       {1, 116.9, 554894, 4007, 2827, 130081, 1962}},
      {60323, 61122, 60171, 61187, 63221, 63639, 64989, 63761, 66019, 67857, 68169, 66513, 68655, 69564, 69331, 70551},
      {-3482258.63459582, 15.0618722713733, -0.358191792925910E-01, -2.02022980381683, -1.03322686717359,
       -0.511041056535807E-01, 1829.15146461355}};
}

inline RegressionSet filip() {
  return polynomial(
      "Filip",
      {-6.860120914, -4.324130045, -4.358625055, -4.358426747, -6.955852379, -6.661145254, -6.355462942, -6.118102026,
       -7.115148017, -6.815308569, -6.519993057, -6.204119983, -5.853871964, -6.109523091, -5.79832982,  -5.482672118,
       -5.171791386, -4.851705903, -4.517126416, -4.143573228, -3.709075441, -3.499489089, -6.300769497, -5.953504836,
       -5.642065153, -5.031376979, -4.680685696, -4.329846955, -3.928486195, -8.56735134,  -8.363211311, -8.107682739,
       -7.823908741, -7.522878745, -7.218819279, -6.920818754, -6.628932138, -6.323946875, -5.991399828, -8.781464495,
       -8.663140179, -8.473531488, -8.247337057, -7.971428747, -7.676129393, -7.352812702, -7.072065318, -6.774174009,
       -6.478861916, -6.159517513, -6.835647144, -6.53165267,  -6.224098421, -5.910094889, -5.598599459, -5.290645224,
       -4.974284616, -4.64454848,  -4.290560426, -3.885055584, -3.408378962, -3.13200249,  -8.726767166, -8.66695597,
       -8.511026475, -8.165388579, -7.886056648, -7.588043762, -7.283412422, -6.995678626, -6.691862621, -6.392544977,
       -6.067374056, -6.684029655, -6.378719832, -6.065855188, -5.752272167, -5.132414673, -4.811352704, -4.098269308,
       -3.66174277,  -3.2644011},
      {0.8116, 0.9072, 0.9052, 0.9039, 0.8053, 0.8377, 0.8667, 0.8809, 0.7975, 0.8162, 0.8515, 0.8766, 0.8885, 0.8859,
       0.8959, 0.8913, 0.8959, 0.8971, 0.9021, 0.909,  0.9139, 0.9199, 0.8692, 0.8872, 0.89,   0.891,  0.8977, 0.9035,
       0.9078, 0.7675, 0.7705, 0.7713, 0.7736, 0.7775, 0.7841, 0.7971, 0.8329, 0.8641, 0.8804, 0.7668, 0.7633, 0.7678,
       0.7697, 0.77,   0.7749, 0.7796, 0.7897, 0.8131, 0.8498, 0.8741, 0.8061, 0.846,  0.8751, 0.8856, 0.8919, 0.8934,
       0.894,  0.8957, 0.9047, 0.9129, 0.9209, 0.9219, 0.7739, 0.7681, 0.7665, 0.7703, 0.7702, 0.7761, 0.7809, 0.7961,
       0.8253, 0.8602, 0.8809, 0.8301, 0.8664, 0.8834, 0.8898, 0.8964, 0.8963, 0.9074, 0.9119, 0.9228},
      {-1467.48961422980, -2772.17959193342, -2316.37108160893, -1127.97394098372, -354.478233703349, -75.1242017393757,
       -10.8753180355343, -1.06221498588947, -0.670191154593408E-01, -0.246781078275479E-02, -0.402962525080404E-04});
}

// x = 0..20, a polynomial of degree 5 with the ratio `q` from coefficient to coefficient, and errors of the given size
// that are orthogonal to every polynomial of that degree.
inline RegressionSet wampler(int number, double q, double errors) {
  static constexpr int kErrors[21] = {759,   -2048, 2048,  -2048, 2523,  -2048, 2048,  -2048, 1838,  -2048, 2048,
                                      -2048, 1838,  -2048, 2048,  -2048, 2523,  -2048, 2048,  -2048, 759};
  std::vector<double> x, y, certified;
  for (const char* c : {"1", "0.1", "0.01", "0.001", "0.0001", "0.00001"})
    certified.push_back(q == 1 ? 1 : std::stod(c));
  for (int i = 0; i <= 20; ++i) {
    // The integers 10^5 * y are exact, and so is their quotient but for one rounding.
    long long scaled = 0, power = 1, weight = 100000;
    for (int degree = 0; degree <= 5; ++degree, power *= i, weight /= 10) scaled += power * (q == 1 ? 100000 : weight);
    x.push_back(i);
    y.push_back(static_cast<double>(scaled) / 100000 + errors * kErrors[i]);
  }
  return polynomial("Wampler" + std::to_string(number), x, y, certified);
}

inline std::vector<RegressionSet> regressionSets() {
  return {longley(),           filip(), wampler(1, 1, 0), wampler(2, 0.1, 0), wampler(3, 1, 1), wampler(4, 1, 100),
          wampler(5, 1, 10000)};
}

}  // namespace quorvel::test

#endif  // QUORVEL_TESTS_DATA_REGRESSION_SETS_H_
