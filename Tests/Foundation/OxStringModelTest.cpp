#include <random>
#include <string>

#include <gtest/gtest.h>

#include "Foundation/OxString.h"

// Random edits of a string beside the same edits of a sequence of code points, which is slow and plain.
namespace {

using Model = std::u32string;

OxString FromModel(const Model& model) {
  OxString text;
  for (const char32_t c : model) text += c;
  return text;
}

class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}
  int Below(int bound) { return static_cast<int>(engine_() % static_cast<unsigned>(bound)); }
  Model Word(int maxLength) {
    constexpr char32_t kAlphabet[] = {'a', 'b', ' ', 'Z', 0xE9, 0x20AC, 0x1F600};
    Model word;
    for (int left = Below(maxLength + 1); left > 0; --left) word += kAlphabet[Below(7)];
    return word;
  }

 private:
  std::mt19937 engine_;
};

long ModelFind(const Model& text, const Model& part, int start) {
  if (part.empty() || start >= static_cast<int>(text.size())) return -1;
  return static_cast<long>(text.find(part, static_cast<std::size_t>(start)));
}

long ModelFindLast(const Model& text, const Model& part) {
  return part.empty() || text.empty() ? -1 : static_cast<long>(text.rfind(part));
}

void Edit(Random& random, OxString& text, Model& model) {
  const auto at = static_cast<std::size_t>(random.Below(static_cast<int>(model.size()) + 1));
  const Model word = random.Word(3);
  switch (random.Below(6)) {
    case 0:
      text += FromModel(word);
      model += word;
      break;
    case 1:
      text += 0x20AC;
      model += char32_t{0x20AC};
      break;
    case 2:
      if (at < model.size()) {
        text.erase(at, 1);
        model.erase(at, 1);
      }
      break;
    case 3:
      text = text.substr(0, at) + FromModel(word) + text.substr(at, -1);
      model.insert(at, word);
      break;
    case 4:
      text.replace(0xE9, 'b');
      for (char32_t& c : model) c = c == 0xE9 ? U'b' : c;
      break;
    default:
      if (model.size() > 40) {
        text.trim_left().erase(20, -1);
        model.erase(0, model.find_first_not_of(U' '));
        model.erase(std::min<std::size_t>(20, model.size()));
      }
      break;
  }
}

TEST(OxStringModel, RandomEditsAgree) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    Random random(seed);
    OxString text;
    Model model;
    for (int step = 0; step < 400; ++step) {
      Edit(random, text, model);
      ASSERT_EQ(text.view(), FromModel(model).view()) << "seed " << seed << " step " << step;
      ASSERT_EQ(text.length(), model.size());
      const Model part = random.Word(2);
      const int start = random.Below(static_cast<int>(model.size()) + 2);
      ASSERT_EQ(text.find(FromModel(part), start), ModelFind(model, part, start));
      ASSERT_EQ(text.rfind(FromModel(part), -1), ModelFindLast(model, part));
    }
  }
}

}  // namespace
