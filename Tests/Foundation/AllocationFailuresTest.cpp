#include <array>
#include <functional>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include "Foundation/OxPath.h"
#include "Support/FailingAllocations.h"
#include "Support/Text.h"

namespace {

using Support::Text;

template <typename Object>
struct Operation {
  const char* name;
  std::function<void(Object&)> run;
};

// What can be seen of an object, cached storage included.
std::string State(const OxBuffer& buffer) {
  return Text(buffer) + '/' + std::to_string(buffer.capacity());
}
std::string State(const OxString& text) {
  return Text(text) + '/' + std::to_string(text.length());
}
std::string State(const OxPath& path) {
  return Text(path) + '/' + Text(path.root_directory());
}

// Fails the 1st, 2nd, ... allocation of the operation on a copy of `before`, until it succeeds.
template <typename Object>
void ExpectUnchangedByFailures(const Object& before, const Operation<Object>& operation) {
  Object untroubled(before);
  operation.run(untroubled);
  for (int n = 1;; ++n) {
    Object object(before);
    const auto state = State(object);
    bool failed = false;
    bool fired = false;
    {
      const Support::FailingAllocations failing(n);
      try {
        operation.run(object);
      } catch (const std::bad_alloc&) {
        failed = true;
      }
      fired = failing.Fired();
    }
    if (!fired) {
      EXPECT_GT(n, 1) << operation.name << " allocates nothing: it proves nothing";
      EXPECT_EQ(State(object), State(untroubled)) << operation.name;
      return;
    }
    EXPECT_TRUE(failed) << operation.name << " swallowed failure " << n;
    EXPECT_EQ(State(object), state) << operation.name << ", allocation " << n;
    operation.run(object);
    EXPECT_EQ(State(object), State(untroubled)) << operation.name << " after failure " << n;
  }
}

TEST(AllocationFailures, LeaveABufferAsItWas) {
  const char* const kMore = "more bytes than the buffer has had room for until now";
  const Operation<OxBuffer> operations[] = {
      {"shrink", [](OxBuffer& b) { b.SetLength(2); }},
      {"operator=", [=](OxBuffer& b) { b = OxBuffer(kMore); }},
      {"Assign", [=](OxBuffer& b) { b.Assign(kMore); }},
      {"Assign own", [](OxBuffer& b) { b.Assign(b.data() + 4, 8); }},
      {"Append", [=](OxBuffer& b) { b.Append(kMore); }},
      {"Append own", [](OxBuffer& b) { b.Append(b); }},
      {"Replace by more",
       [=](OxBuffer& b) {
         b.Replace({2, 3}, kMore, 50);
       }},
      {"Replace by less",
       [](OxBuffer& b) {
         b.Replace({1, 10}, "xyz", 3);
       }},
      {"Replace by nothing",
       [](OxBuffer& b) {
         b.Replace({0, 9}, nullptr, 0);
       }},
      {"Replace by own",
       [](OxBuffer& b) {
         b.Replace({1, 10}, b.data() + 6, 2);
       }},
      {"ToBase64", [](OxBuffer& b) { b.ToBase64(); }},
      {"codecs", [](OxBuffer& b) { b = b.MakeReversed().ConvertToHex().ConvertFromHex(); }},
  };
  for (const auto& operation : operations) {
    ExpectUnchangedByFailures(OxBuffer("0123456789ab", 12), operation);
  }
  ExpectUnchangedByFailures<OxBuffer>(OxBuffer("TQ=="),
                                      {"FromBase64", [](OxBuffer& b) { b.FromBase64(); }});
}

TEST(AllocationFailures, LeaveAStringAsItWas) {
  static const OxString kLong("caf\xC3\xA9 and much more text than lies in the object");
  static const std::array<unsigned short, 20> kUnits = {
      'u', 'n', 'i', 't', 0xE9, 'u', 'n', 'i', 't', 's', 'u', 'n', 'i', 't', 0xE9, 'u', 'n', 'i', 't'};
  const Operation<OxString> operations[] = {
      {"operator=", [](OxString& s) { s = kLong; }},
      {"set", [](OxString& s) { s.set(kLong.c_str()); }},
      {"set UTF-16", [](OxString& s) { s.set(kUnits.data()); }},
      {"format", [](OxString& s) { s.format("%s %s", s.c_str(), kLong.c_str()); }},
      {"reserve", [](OxString& s) { s.reserve(100); }},
      {"operator+=", [](OxString& s) { s += kLong; }},
      {"append itself", [](OxString& s) { s += s; }},
      {"append a character", [](OxString& s) { s += 0x20AC; }},
      {"append_valid", [](OxString& s) { s.append_valid(kLong.view()); }},
      {"replace a character", [](OxString& s) { s.replace(' ', 0x20AC); }},
      {"replace a text", [](OxString& s) { s.replace("a", kLong); }},
      {"replace by itself", [](OxString& s) { s.replace(" ", s); }},
      {"encode_url", [](OxString& s) { s.encode_url(); }},
      {"decode_url", [](OxString& s) { s.decode_url(); }},
      {"u_str", [](OxString& s) { EXPECT_EQ(s.u_str()[0], 'a') << "no text is not a failure"; }},
      {"pieces", [](OxString& s) { s = s.explode(' ').back() + s.substr(1, -1) + kLong; }},
  };
  for (const auto& operation : operations) {
    ExpectUnchangedByFailures(OxString("a b c %41 d ef and so on"), operation);
  }
}

TEST(AllocationFailures, LeaveTheTextOfUStrAsItWas) {
  const std::function<void(OxString&)> operations[] = {
      [](OxString& s) { s = OxString("a text that lies outside of the object"); },
      [](OxString& s) { s += s; },
      [](OxString& s) { s.replace("a", "some other text"); },
  };
  for (const auto& run : operations) {
    OxString text("abcabcabcabcab");
    const unsigned short* units = text.u_str();
    EXPECT_THROW(
        {
          const Support::FailingAllocations failing(1);
          run(text);
        },
        std::bad_alloc);
    EXPECT_EQ(units, text.u_str());
    EXPECT_EQ(OxString(units), text);
  }
}

TEST(AllocationFailures, LeaveAPathAsItWas) {
  const Operation<OxPath> operations[] = {
      {"operator=", [](OxPath& p) { p = "some\\other\\path\\that is long\\"; }},
      {"append_extension", [](OxPath& p) { p.append_extension(".extension"); }},
      {"append_component", [](OxPath& p) { p /= OxPath("component\\and another one"); }},
      {"append itself", [](OxPath& p) { p /= std::as_const(p); }},
      {"trim_component", [](OxPath& p) { p.trim_component(); }},
      {"trim_extension", [](OxPath& p) { p.trim_extension(); }},
      {"trim_extension(pem)", [](OxPath& p) { p.trim_extension("pem"); }},
      {"parts", [](OxPath& p) { p = p.relative_path() + p.leaf() + p.basename() + p.extension(); }},
  };
  for (const auto& operation : operations) {
    ExpectUnchangedByFailures(OxPath("/a folder with a name/another one of them.pem"), operation);
  }
}

}  // namespace
