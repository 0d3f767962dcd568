#include <gtest/gtest.h>

#include "Foundation/SmartPtr.h"

namespace {

class Counted : public Hux::Retainable {
 public:
  explicit Counted(int& deaths) : deaths_(deaths) {}
  ~Counted() override { ++deaths_; }
  Hux::SmartPtr<Counted> Self() { return Hux::make_ref(this); }

 private:
  int& deaths_;
};
class Derived : public Counted {
  using Counted::Counted;
};
class Other : public Counted {
  using Counted::Counted;
};

TEST(SmartPtr, AdoptsWithoutCountingAndDeletesOnce) {
  int deaths = 0;
  {
    const auto first = Hux::SmartPtr<Counted>::Adopt(new Counted(deaths));
    EXPECT_EQ(first->GetRefCount(), 1U);
    const auto second = first;
    EXPECT_EQ(first->Self()->GetRefCount(), 3U);
    EXPECT_EQ(first->GetRefCount(), 2U);
  }
  EXPECT_EQ(deaths, 1);
}

TEST(SmartPtr, ReferencesMadeByADestructorDoNotDestroyAgain) {
  struct LooksBack : Counted {
    using Counted::Counted;
    ~LooksBack() override {
      Self()->Self();
      last = Self();
    }
    Hux::SmartPtr<Counted> last;  // Released when the object is half gone.
  };
  int deaths = 0;
  Hux::SmartPtr<LooksBack>::Adopt(new LooksBack(deaths));
  EXPECT_EQ(deaths, 1);
}

TEST(SmartPtr, AssignmentKeepsCounts) {
  int deaths = 0;
  auto p = Hux::SmartPtr<Derived>::Adopt(new Derived(deaths));
  auto& alias = p;
  p = alias;
  auto q = p;
  p = q;
  EXPECT_EQ(p->GetRefCount(), 2U);
  Hux::SmartPtr<Counted> base;
  base = p;
  base = q;
  EXPECT_EQ(p->GetRefCount(), 3U);
  base = Hux::SmartPtr<Counted>();
  p = nullptr;
  EXPECT_EQ(q->GetRefCount(), 1U);
  q = nullptr;
  EXPECT_EQ(deaths, 1);
}

TEST(SmartPtr, DownCastsAreChecked) {
  int deaths = 0;
  const Hux::SmartPtr<Counted> base = Hux::SmartPtr<Derived>::Adopt(new Derived(deaths));
  EXPECT_EQ(base->GetRefCount(), 1U);
  EXPECT_TRUE(base.dynamic_cast_to<Other>() == nullptr);
  EXPECT_EQ(base->GetRefCount(), 1U);
  const Hux::SmartPtr<Derived> derived = base;
  EXPECT_EQ(base->GetRefCount(), 2U);
  EXPECT_TRUE(Hux::SmartPtr<Counted>().dynamic_cast_to<Derived>() == nullptr);
}

TEST(SmartPtr, ComparesIdentity) {
  int deaths = 0;
  const auto a = Hux::SmartPtr<Counted>::Adopt(new Counted(deaths));
  const auto b = Hux::SmartPtr<Counted>::Adopt(new Counted(deaths));
  EXPECT_FALSE(a == b);
  EXPECT_TRUE(a == a->Self());
  EXPECT_FALSE(a == nullptr);
  const auto derived = Hux::SmartPtr<Derived>::Adopt(new Derived(deaths));
  const Hux::SmartPtr<Counted> base = derived;
  EXPECT_TRUE(base == derived && derived == base);
  EXPECT_TRUE(derived != a);
}

}  // namespace
