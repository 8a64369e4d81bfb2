// The descent machinery on scripted energies: each evaluation's value and
// gradient come from a law the test sets, so the step rule, the range
// folding and the step budget can be checked number by number.

#include "lumesh/reverse_engineering/gradient_descent_fitter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <memory>
#include <vector>

#include "host/base/mod_info.h"
#include "host/geometry/constants.h"
#include "host/kernel/geometry/plane.h"

namespace {

// An energy whose value and gradient were decided when it was made.
class SCRIPTED_ENERGY : public SURFACE_ENERGY {
 public:
  SCRIPTED_ENERGY(const VECTOR2& p, const std::vector<POSITION3>& points, double energy,
                  const VECTOR2& gradient)
      : SURFACE_ENERGY(p, points), gradient_(gradient) {
    set_energy(energy);
  }
  SCRIPTED_ENERGY* clone() const override { return new SCRIPTED_ENERGY(*this); }
  VECTOR2 compute_partial_derivatives() const override { return gradient_; }
  surface* get_surface(const POSITION3& cog) const override {
    try {
      return new plane(cog, A(get_parameters()));
    } catch (const TV_EXCEPTION&) {
      return nullptr;
    }
  }

 private:
  VECTOR2 gradient_;
};

// The law: the energy of the evaluation number `serial` (0 for the first)
// at parameters p.
using LAW = std::function<double(const VECTOR2& p, int serial)>;

double always_lower(const VECTOR2&, int serial) {
  return -serial;
}
double always_higher(const VECTOR2&, int serial) {
  return serial;
}

class SCRIPTED_FITTER : public GRADIENT_DESCENT_FITTER {
 public:
  using GRADIENT_DESCENT_FITTER::compute_surface_energy;
  using GRADIENT_DESCENT_FITTER::gradient_descent_step;

  LAW law = always_lower;
  VECTOR2 gradient;
  mutable int serial = 0;
  mutable std::vector<VECTOR2> evaluated;  // the parameters of each evaluation

  SURFACE_ENERGY* compute_surface_energy(const VECTOR2& p,
                                         const std::vector<POSITION3>& points) const override {
    evaluated.push_back(p);
    const double e = law(p, serial++);
    return new SCRIPTED_ENERGY(p, points, e, gradient);
  }
};

// Runs one step from `start` and reports the result, the step length after
// it and the counts it added.
struct STEP_RESULT {
  std::unique_ptr<SURFACE_ENERGY> next;
  double step;
  unsigned int steps_added;
  unsigned int evaluations_added;
};

STEP_RESULT one_step(SCRIPTED_FITTER& f, const VECTOR2& start, double step) {
  static const std::vector<POSITION3> points = {POSITION3(1, 0, 0), POSITION3(0, 1, 0),
                                                POSITION3(-1, -1, 0)};
  std::unique_ptr<SURFACE_ENERGY> current(f.compute_surface_energy(start, points));
  const unsigned int s0 = f.get_gradient_descent_step_count();
  const unsigned int e0 = f.get_energy_evaluation_count();
  STEP_RESULT r;
  r.step = step;
  r.next = f.gradient_descent_step(*current, r.step);
  r.steps_added = f.get_gradient_descent_step_count() - s0;
  r.evaluations_added = f.get_energy_evaluation_count() - e0;
  return r;
}

// Same line through the origin, whatever the sense.
bool same_line(const VECTOR2& p, const VECTOR2& q) {
  const double ap[3] = {std::cos(p.x()) * std::sin(p.y()), std::sin(p.x()) * std::sin(p.y()),
                        std::cos(p.y())};
  const double aq[3] = {std::cos(q.x()) * std::sin(q.y()), std::sin(q.x()) * std::sin(q.y()),
                        std::cos(q.y())};
  const double d = ap[0] * aq[0] + ap[1] * aq[1] + ap[2] * aq[2];
  return std::fabs(std::fabs(d) - 1.0) < 1e-12;
}

TEST(GradientDescentFitterPolar, AxisAlongZ) {
  const VECTOR2 up = GRADIENT_DESCENT_FITTER::compute_polar_coordinates(UNITVEC3(0, 0, 1));
  EXPECT_EQ(up.x(), 0.0);
  EXPECT_EQ(up.y(), 0.0);
  const VECTOR2 down = GRADIENT_DESCENT_FITTER::compute_polar_coordinates(UNITVEC3(0, 0, -1));
  EXPECT_EQ(down.x(), 0.0);
  EXPECT_EQ(down.y(), HOST_PI);
  // Within the pole's cap alpha is 0 whatever x and y say.
  const VECTOR2 near_pole =
      GRADIENT_DESCENT_FITTER::compute_polar_coordinates(UNITVEC3(-3e-6, -4e-6, 1.0));
  EXPECT_EQ(near_pole.x(), 0.0);
  EXPECT_NEAR(near_pole.y(), 5e-6, 1e-10);
  // Just outside it atan2 counts.
  const VECTOR2 outside =
      GRADIENT_DESCENT_FITTER::compute_polar_coordinates(UNITVEC3(0.0, -2e-5, 1.0));
  EXPECT_NEAR(outside.x(), 1.5 * HOST_PI, 1e-12);
}

TEST(GradientDescentFitterPolar, RoundTripsAndStaysInRange) {
  const VECTOR3 dirs[] = {VECTOR3(1, 0, 0),    VECTOR3(0, 1, 0),        VECTOR3(-1, 0, 0),
                          VECTOR3(0, -1, 0),   VECTOR3(1, 2, 3),        VECTOR3(-1, -2, -3),
                          VECTOR3(-5, 1, 0.2), VECTOR3(0.3, -0.9, -0.1)};
  for (const VECTOR3& d : dirs) {
    const UNITVEC3 a(d);
    const VECTOR2 p = GRADIENT_DESCENT_FITTER::compute_polar_coordinates(a);
    EXPECT_GE(p.x(), 0.0);
    EXPECT_LT(p.x(), HOST_TWO_PI);
    EXPECT_GE(p.y(), 0.0);
    EXPECT_LE(p.y(), HOST_PI);
    EXPECT_NEAR(std::cos(p.x()) * std::sin(p.y()), a.x(), 1e-15);
    EXPECT_NEAR(std::sin(p.x()) * std::sin(p.y()), a.y(), 1e-15);
    EXPECT_NEAR(std::cos(p.y()), a.z(), 1e-15);
  }
  // atan2's (-π, 0) comes out in (π, 2π).
  EXPECT_NEAR(GRADIENT_DESCENT_FITTER::compute_polar_coordinates(UNITVEC3(0, -1, 0)).x(),
              1.5 * HOST_PI, 1e-15);
}

TEST(GradientDescentFitterStep, MoveWithoutHalvingGrowsTheStepByATenth) {
  SCRIPTED_FITTER f;
  f.gradient = VECTOR2(0.1, -0.2);
  const STEP_RESULT r = one_step(f, VECTOR2(1.0, 0.5), 1.0);
  ASSERT_NE(r.next, nullptr);
  EXPECT_EQ(r.next->get_parameters().x(), 1.0 - 0.1);
  EXPECT_EQ(r.next->get_parameters().y(), 0.5 + 0.2);
  EXPECT_EQ(r.step, 1.0 * 1.1);
  EXPECT_EQ(r.steps_added, 1u);
  EXPECT_EQ(r.evaluations_added, 1u);
}

TEST(GradientDescentFitterStep, AlphaMoveAboveTwoPiKeepsItsRemainder) {
  SCRIPTED_FITTER f;
  f.gradient = VECTOR2(1000.0, 0.0);
  const STEP_RESULT r = one_step(f, VECTOR2(1.0, 0.5), 1.0);
  ASSERT_NE(r.next, nullptr);
  const double remainder = std::fmod(1000.0, HOST_TWO_PI);
  const double cut = remainder / 1000.0;
  EXPECT_NEAR(1.0 - r.next->get_parameters().x(), remainder, 1e-12);
  EXPECT_EQ(r.next->get_parameters().y(), 0.5);
  // No halving afterwards: the cut step grows by a tenth.
  EXPECT_NEAR(r.step, cut * 1.1, 1e-15);
}

TEST(GradientDescentFitterStep, BetaMoveAboveTwoPiKeepsItsRemainderAndTheDirection) {
  SCRIPTED_FITTER f;
  f.gradient = VECTOR2(0.5, -50.0);
  const STEP_RESULT r = one_step(f, VECTOR2(1.0, 0.5), 1.0);
  ASSERT_NE(r.next, nullptr);
  const double dy = std::fmod(-50.0, HOST_TWO_PI);  // negative, like the move
  const double cut = dy / -50.0;
  EXPECT_GT(cut, 0.0);
  EXPECT_NEAR(r.next->get_parameters().x(), 1.0 - 0.5 * cut, 1e-12);
  // 0.5 - dy lies in (2π, 2.5π): folded by 2π, no further turn.
  EXPECT_NEAR(r.next->get_parameters().y(), 0.5 - dy - HOST_TWO_PI, 1e-12);
  EXPECT_NEAR(r.step, cut * 1.1, 1e-15);
}

TEST(GradientDescentFitterStep, AlphaIsCutFirstThenBeta) {
  SCRIPTED_FITTER f;
  f.gradient = VECTOR2(100.0, 1000.0);
  const STEP_RESULT r = one_step(f, VECTOR2(3.0, 1.0), 1.0);
  ASSERT_NE(r.next, nullptr);
  // After the alpha cut the beta move is still 57.5: cut again.
  const double first = std::fmod(100.0, HOST_TWO_PI) / 100.0;
  ASSERT_GT(1000.0 * first, HOST_TWO_PI);
  const double second = std::fmod(1000.0 * first, HOST_TWO_PI) / 1000.0;
  EXPECT_NEAR(r.step, second * 1.1, 1e-15);
  // The larger move, dy, is the remainder; dx is a tenth of it.
  const double dx = 100.0 * second, dy = 1000.0 * second;
  EXPECT_LT(dy, HOST_TWO_PI);
  EXPECT_TRUE(same_line(r.next->get_parameters(), VECTOR2(3.0 - dx, 1.0 - dy)));
}

TEST(GradientDescentFitterStep, BetaAboveHalfPiTurnsTheAxisOver) {
  SCRIPTED_FITTER f;
  f.gradient = VECTOR2(0.0, -1.0);
  const STEP_RESULT r = one_step(f, VECTOR2(0.3, 1.2), 1.0);
  ASSERT_NE(r.next, nullptr);
  EXPECT_NEAR(r.next->get_parameters().x(), 0.3 + HOST_PI, 1e-15);
  EXPECT_NEAR(r.next->get_parameters().y(), HOST_PI - 2.2, 1e-15);
  EXPECT_TRUE(same_line(r.next->get_parameters(), VECTOR2(0.3, 2.2)));
}

TEST(GradientDescentFitterStep, BetaAbovePiDropsPiAndKeepsAlpha) {
  SCRIPTED_FITTER f;
  f.gradient = VECTOR2(0.0, -2.5);
  const STEP_RESULT r = one_step(f, VECTOR2(0.3, 1.0), 1.0);
  ASSERT_NE(r.next, nullptr);
  EXPECT_EQ(r.next->get_parameters().x(), 0.3);
  EXPECT_NEAR(r.next->get_parameters().y(), 3.5 - HOST_PI, 1e-15);
  EXPECT_TRUE(same_line(r.next->get_parameters(), VECTOR2(0.3, 3.5)));
}

TEST(GradientDescentFitterStep, NegativeBetaComesBackOnTheOtherSide) {
  SCRIPTED_FITTER f;
  f.gradient = VECTOR2(0.0, 0.5);
  const STEP_RESULT r = one_step(f, VECTOR2(0.2, 0.2), 1.0);
  ASSERT_NE(r.next, nullptr);
  // -0.3 folds to 2π - 0.3, drops π, and turns over: (0.2 + π, 0.3).
  EXPECT_NEAR(r.next->get_parameters().x(), 0.2 + HOST_PI, 1e-14);
  EXPECT_NEAR(r.next->get_parameters().y(), 0.3, 1e-14);
  EXPECT_TRUE(same_line(r.next->get_parameters(), VECTOR2(0.2, -0.3)));
}

TEST(GradientDescentFitterStep, AlphaFoldsIntoOneTurn) {
  SCRIPTED_FITTER f;
  f.gradient = VECTOR2(1.0, 0.0);
  STEP_RESULT r = one_step(f, VECTOR2(0.2, 0.5), 1.0);
  ASSERT_NE(r.next, nullptr);
  EXPECT_NEAR(r.next->get_parameters().x(), HOST_TWO_PI - 0.8, 1e-15);
  f.gradient = VECTOR2(-1.0, 0.0);
  r = one_step(f, VECTOR2(6.0, 0.5), 1.0);
  ASSERT_NE(r.next, nullptr);
  EXPECT_NEAR(r.next->get_parameters().x(), 7.0 - HOST_TWO_PI, 1e-15);
}

TEST(GradientDescentFitterStep, HalvingStopsAtTheSmallestMoveAndFindsNothing) {
  SCRIPTED_FITTER f;
  f.law = always_higher;
  f.gradient = VECTOR2(1.0, 0.0);
  const STEP_RESULT r = one_step(f, VECTOR2(1.0, 0.5), 1.0);
  EXPECT_EQ(r.next, nullptr);
  // Halved while the previous move was longer than 1e-12: 1, 1/2, ...,
  // 2^-39 pass the test, 2^-40 doesn't.
  EXPECT_EQ(r.evaluations_added, 41u);
  EXPECT_EQ(r.step, std::ldexp(1.0, -40));
  EXPECT_EQ(r.steps_added, 1u);
}

TEST(GradientDescentFitterStep, HalvedMovesAreNotFoldedAndKeepTheirStep) {
  SCRIPTED_FITTER f;
  // The first, folded move is refused; the halved one is taken.
  f.law = [](const VECTOR2&, int serial) {
    return serial == 1 ? 10.0 : -static_cast<double>(serial);
  };
  f.gradient = VECTOR2(1.0, 0.0);
  const STEP_RESULT r = one_step(f, VECTOR2(0.2, 0.5), 1.0);
  ASSERT_NE(r.next, nullptr);
  ASSERT_EQ(f.evaluated.size(), 3u);
  EXPECT_NEAR(f.evaluated[1].x(), HOST_TWO_PI - 0.8, 1e-15);
  EXPECT_EQ(r.next->get_parameters().x(), 0.2 - 0.5);
  EXPECT_EQ(r.next->get_parameters().y(), 0.5);
  EXPECT_EQ(r.step, 0.5);
}

TEST(GradientDescentFitterStep, EqualAndNaNEnergiesEndTheDescent) {
  SCRIPTED_FITTER f;
  f.law = [](const VECTOR2&, int) { return 2.0; };
  f.gradient = VECTOR2(0.1, 0.1);
  STEP_RESULT r = one_step(f, VECTOR2(1.0, 0.5), 1.0);
  EXPECT_EQ(r.next, nullptr);
  EXPECT_EQ(r.evaluations_added, 1u);
  f.law = [](const VECTOR2&, int) { return host_nan(); };
  r = one_step(f, VECTOR2(1.0, 0.5), 1.0);
  EXPECT_EQ(r.next, nullptr);
  EXPECT_EQ(r.evaluations_added, 1u);
}

// A fitter with three points, started at (0.4, 0.6).
void prepare(SCRIPTED_FITTER& f) {
  f.add_point(POSITION3(1, 0, 0));
  f.add_point(POSITION3(0, 1, 0));
  f.add_point(POSITION3(0, 0, 1));
  f.set_initial_fitting_parameters(VECTOR2(0.4, 0.6));
}

TEST(GradientDescentFitterBudget, StepsAreSpentOverTheFittersLife) {
  SCRIPTED_FITTER f;  // every evaluation lower: the descent never ends by itself
  prepare(f);
  ASSERT_TRUE(f.fit_surface());
  EXPECT_EQ(f.get_gradient_descent_step_count(), 801u);
  EXPECT_EQ(f.get_energy_evaluation_count(), 802u);

  // The 802nd step still happens, and it is the only one of its fit.
  f.add_point(POSITION3(1, 1, 1));
  ASSERT_TRUE(f.fit_surface());
  EXPECT_EQ(f.get_gradient_descent_step_count(), 802u);
  EXPECT_EQ(f.get_energy_evaluation_count(), 2u);
  f.add_point(POSITION3(2, 1, 1));
  ASSERT_TRUE(f.fit_surface());
  EXPECT_EQ(f.get_gradient_descent_step_count(), 803u);

  // Undo gives back the steps of the undone fit only.
  ASSERT_TRUE(f.undo());
  EXPECT_EQ(f.get_gradient_descent_step_count(), 802u);
  EXPECT_EQ(f.get_energy_evaluation_count(), 2u);
  f.add_point(POSITION3(3, 1, 1));
  ASSERT_TRUE(f.fit_surface());
  EXPECT_EQ(f.get_gradient_descent_step_count(), 803u);
  EXPECT_EQ(f.get_energy_evaluation_count(), 2u);
}

TEST(GradientDescentFitterBudget, DescentThatEndsByItselfSpendsLess) {
  SCRIPTED_FITTER f;
  // Lower for the first four steps; the fifth finds an equal energy.
  f.law = [](const VECTOR2&, int serial) { return -static_cast<double>(serial < 4 ? serial : 4); };
  prepare(f);
  ASSERT_TRUE(f.fit_surface());
  EXPECT_EQ(f.get_gradient_descent_step_count(), 5u);
  EXPECT_EQ(f.get_energy_evaluation_count(), 6u);
  // A new fit starts the evaluation count afresh but not the step count.
  f.add_point(POSITION3(4, 4, 4));
  ASSERT_TRUE(f.fit_surface());
  EXPECT_EQ(f.get_gradient_descent_step_count(), 6u);
  EXPECT_EQ(f.get_energy_evaluation_count(), 2u);
}

TEST(GradientDescentFitterState, FittingParametersFollowTheCurrentEnergy) {
  SCRIPTED_FITTER f;
  EXPECT_TRUE(host_is_nan(f.get_fitting_parameters().x()));
  EXPECT_TRUE(host_is_nan(f.get_fitting_parameters().y()));
  f.law = [](const VECTOR2&, int serial) { return serial == 0 ? 1.0 : 2.0; };
  f.gradient = VECTOR2(0.01, 0.02);
  prepare(f);
  ASSERT_TRUE(f.fit_surface());
  EXPECT_EQ(f.get_fitting_parameters(), VECTOR2(0.4, 0.6));
  // The surface is the energy's: the plane across A(0.4, 0.6).
  const plane* pl = entity_cast<plane>(f.get_fitted_surface());
  ASSERT_NE(pl, nullptr);
  EXPECT_NEAR(pl->nor().z(), std::cos(0.6), 1e-15);

  f.add_point(POSITION3(2, 2, 2));
  f.set_initial_fitting_parameters(VECTOR2(1.0, 0.2));
  ASSERT_TRUE(f.fit_surface());
  EXPECT_EQ(f.get_fitting_parameters(), VECTOR2(1.0, 0.2));
  // Saving moves the current energy away.
  f.note_state();
  EXPECT_TRUE(host_is_nan(f.get_fitting_parameters().x()));
  ASSERT_TRUE(f.undo());
  EXPECT_EQ(f.get_fitting_parameters(), VECTOR2(1.0, 0.2));
}

TEST(GradientDescentFitterState, UndoBringsBackTheEnergyOfTheFitBefore) {
  SCRIPTED_FITTER f;
  f.law = [](const VECTOR2&, int) { return 1.0; };
  prepare(f);
  ASSERT_TRUE(f.fit_surface());
  f.add_point(POSITION3(5, 0, 0));
  f.set_initial_fitting_parameters(VECTOR2(2.0, 1.0));
  ASSERT_TRUE(f.fit_surface());
  EXPECT_EQ(f.get_fitting_parameters(), VECTOR2(2.0, 1.0));
  ASSERT_TRUE(f.undo());
  EXPECT_EQ(f.get_fitting_parameters(), VECTOR2(0.4, 0.6));
  EXPECT_EQ(f.get_point_count(), 3u);
  EXPECT_FALSE(f.undo());
}

TEST(GradientDescentFitterState, NaNInitialParametersFailWithoutAStep) {
  SCRIPTED_FITTER f;
  f.add_point(POSITION3(1, 0, 0));
  f.add_point(POSITION3(0, 1, 0));
  f.add_point(POSITION3(0, 0, 1));
  f.set_initial_fitting_parameters(VECTOR2(0.1, host_nan()));
  EXPECT_FALSE(f.fit_surface());
  EXPECT_EQ(f.get_fitted_surface(), nullptr);
  EXPECT_EQ(f.get_gradient_descent_step_count(), 0u);
  EXPECT_TRUE(f.evaluated.empty());
  EXPECT_TRUE(host_is_nan(f.get_fitting_parameters().x()));
  // The first fit can't be undone, even after a failure.
  EXPECT_FALSE(f.undo());
  EXPECT_EQ(f.get_point_count(), 3u);
}

}  // namespace
