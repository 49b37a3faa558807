#include "platform/OrderedTeam.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace tolvane {
namespace {

// Squares of the numbers below a limit.
class CSquares : public COrderedSteps {
 public:
  explicit CSquares(size_t threads) : m_team(*this, threads), m_numbers(m_team.GetSlotCount()) {}

  // As many as come until `most` were taken or something is thrown.
  std::vector<size_t> Take(size_t limit, size_t most, size_t bad = ~size_t{0}) {
    m_next = 0;
    m_limit = limit;
    m_bad = bad;
    std::vector<size_t> taken;
    m_team.Start(limit < 2);
    try {
      while (taken.size() < most) {
        const std::optional<size_t> slot = m_team.Next();
        if (!slot) break;
        taken.push_back(m_numbers[*slot]);
      }
    } catch (const std::runtime_error&) {
      taken.push_back(bad);
    }
    m_team.End();
    return taken;
  }

 private:
  bool BeginStep(size_t slot) override {
    m_numbers[slot] = m_next;
    return m_next++ < m_limit;
  }
  void DoStep(size_t slot, size_t) override {
    if (m_numbers[slot] == m_bad) throw std::runtime_error("bad");
    m_numbers[slot] *= m_numbers[slot];
  }

  COrderedTeam m_team;
  std::vector<size_t> m_numbers;
  size_t m_next = 0, m_limit = 0, m_bad = 0;
};

TEST(OrderedTeam, ResultsComeInOrderWhateverEndsTheWork) {
  for (const size_t threads : {1u, 2u, 8u}) {
    CSquares squares(threads);
    for (int round = 0; round < 20; round++) {
      std::vector<size_t> expected;
      for (size_t number = 0; number < 500; number++) expected.push_back(number * number);
      EXPECT_EQ(squares.Take(500, 1000), expected);
      expected.resize(20);
      EXPECT_EQ(squares.Take(500, 20), expected);
      EXPECT_EQ(squares.Take(1, 20), std::vector<size_t>{0});
      EXPECT_EQ(squares.Take(0, 20), std::vector<size_t>{});
      const std::vector<size_t> failed = squares.Take(500, 1000, 30);
      EXPECT_EQ(failed.back(), 30u);
      EXPECT_LE(failed.size(), 31u);
    }
  }
}

}  // namespace
}  // namespace tolvane
