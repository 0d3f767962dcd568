#include <string>

#include <gtest/gtest.h>

#include "Xml/XmlSupport.h"

namespace {

using Support::Outcome;
using Support::ParseDoc;
using Support::Text;

std::string Syntax(const std::string& detail) {
  return "Syntax Error (" + detail + ") on line 1.";
}

// The outcome, which is the same in both modes.
std::string InBothModes(const std::string& text) {
  const std::string strict = Outcome(text, true);
  EXPECT_EQ(Outcome(text, false), strict) << text;
  return strict;
}

TEST(OxXMLDocType, ExternalIdentifiers) {
  const struct {
    const char* text;
    std::string outcome;
  } cases[] = {
      {"<!DOCTYPE a><a/>", "D'a' a"},
      {"<!DOCTYPE a ><!DOCTYPE b>", "D'a' D'b'"},
      {"<!DOCTYPE a SYSTEM 'x'>", "D'a'"},
      {"<!DOCTYPE a PUBLIC '-//X' \"y\" [] >", "D'a'"},
      {"<!DOCTYPEa>", Syntax("Expected whitespace after '!DOCTYPE'")},
      {"<!DOCTYPE >", Syntax("Expected root element name")},
      {"<!DOCTYPE a FOO \"x\">", Syntax("Expected SYSTEM or PUBLIC. Found \"FOO\"")},
      {"<!DOCTYPE a SYSTEM'x'>", Syntax("Expected whitespace after 'SYSTEM'")},
      {"<!DOCTYPE a SYSTEM x>", Syntax("Expected string")},
      {"<!DOCTYPE a SYSTEM 'x>", "Unterminated string on line 1"},
      {"<!DOCTYPE a PUBLIC'x' 'y'>", Syntax("Expected whitespace after 'PUBLIC'")},
      {"<!DOCTYPE a PUBLIC >", Syntax("Expected string")},
      {"<!DOCTYPE a PUBLIC 'x'>", Syntax("Expected whitespace after public id literal")},
      {"<!DOCTYPE a PUBLIC 'x' >", Syntax("Expected string")},
      {"<!DOCTYPE a PUBLIC '<' 'y'>", "Invalid PubID Literal"},
      {"<!DOCTYPE a SYSTEM 'x' y>", Syntax("Expected '>'")},
      {"<!DOCTYPE a", Syntax("Expected '>'")},
      {"<!DOCTYPE a 'x\n' >", Syntax("Expected '>'")},
      {"<!DOCTYPE a 'x", "Unterminated string on line 1"},
      {"<!DOCTYPE a SYSTEM 'x' \"y'>", "Unterminated string on line 1"},
      {"<!DOCTYPE a [", "Unexpected EOF at line 1"},
      {"<!DOCTYPE a []", Syntax("Expected '>'")},
      {"<a><!DOCTYPE a></a>", Syntax("Expected element tag name")},
  };
  for (const auto& row : cases) EXPECT_EQ(InBothModes(row.text), row.outcome) << row.text;
}

// What a declaration alone in the internal subset becomes: "" when it is accepted.
std::string Declared(const std::string& declaration) {
  const std::string outcome = InBothModes("<!DOCTYPE r [" + declaration + "]>");
  return outcome == "D'r'" ? "" : outcome;
}

TEST(OxXMLDocType, EntityDeclarations) {
  const struct {
    const char* text;
    std::string outcome;
  } cases[] = {
      {"<!ENTITY e 'x'>", ""},
      {"<!ENTITY % e \"x\" >", ""},
      {"<!ENTITY e SYSTEM 'x'>", ""},
      {"<!ENTITY e PUBLIC 'x' 'y' NDATA z>", ""},
      {"<!ENTITY e SYSTEM 'x'NDATA z >", ""},
      {"<!ENTITYe 'x'>", Syntax("Expected whitespace after '!ENTITY'")},
      {"<!ENTITY %e 'x'>", Syntax("Expected whitespace after '%'")},
      {"<!ENTITY 'x'>", Syntax("Expected entity name")},
      {"<!ENTITY e'x'>", Syntax("Expected whitespace after entity name")},
      {"<!ENTITY e FOO>", "Unexpected token 'FOO' encountered at line 1"},
      {"<!ENTITY e >", "Unexpected token '>' encountered at line 1"},
      {"<!ENTITY e SYSTEM>", Syntax("Expected whitespace after 'SYSTEM'")},
      {"<!ENTITY e SYSTEM x>", Syntax("Expected string")},
      {"<!ENTITY e PUBLIC x>", Syntax("Expected string")},
      {"<!ENTITY e PUBLIC 'x'>", Syntax("Expected whitespace after public id literal")},
      {"<!ENTITY e PUBLIC '{' 'x'>", "Invalid PubID Literal"},
      {"<!ENTITY e SYSTEM 'x' FOO z>", Syntax("Expected NDATA or '>'")},
      {"<!ENTITY e SYSTEM 'x' NDATA>", Syntax("Expected whitespace after 'NDATA'")},
      {"<!ENTITY e SYSTEM 'x' NDATA >", Syntax("Expected name after NDATA")},
      {"<!ENTITY e 'x' y>", Syntax("Expected '>'. Got 'y'")},
      {"<!ENTITY e 'x", "Unterminated string on line 1"},
      {"<!ENTITY e '%p;'>",
       "The parameter entity '%p;' cannot appear in markup in the internal DTD subset."},
      {"%p;", "Unknown entity '%p;' at line 1"},
      {"<!ENTITY % p 'x'>%p; % z; %;", ""},
  };
  for (const auto& row : cases) EXPECT_EQ(Declared(row.text), row.outcome) << row.text;
}

TEST(OxXMLDocType, ElementDeclarations) {
  for (const char* model : {"EMPTY", "ANY ", "(#PCDATA)", "(#PCDATA)*", "( #PCDATA | a|b )*", "(a)",
                            "(a?,b*,c+)+", "((a|b),(c,(d)?)*)", "( a | (b , c) )?"}) {
    EXPECT_EQ(Declared(std::string("<!ELEMENT e ") + model + ">"), "") << model;
  }
  const struct {
    const char* text;
    const char* detail;
  } cases[] = {
      {"<!ELEMENTe EMPTY>", "Expected whitespace after '!ELEMENT'"},
      {"<!ELEMENT (a)>", "Expected element name"},
      {"<!ELEMENT e(a)>", "Expected whitespace after element name"},
      {"<!ELEMENT e NONE>", "Unexpected token. Got 'NONE'"},
      {"<!ELEMENT e 'x'>", "Expected EMPTY, ANY, or children"},
      {"<!ELEMENT e (a b)>", "Expected ',' or '|' or ')'"},
      {"<!ELEMENT e (b,c|d)>", "Expected ',' or ')'"},
      {"<!ELEMENT e (b|c,d)>", "Expected '|' or ')'"},
      {"<!ELEMENT e (b,(c|d,e))>", "Expected '|' or ')'"},
      {"<!ELEMENT e (a,)>", "Expected content particle"},
      {"<!ELEMENT e ()>", "Expected content particle"},
      {"<!ELEMENT e (#PCDATA,a)*>", "Expected '|' or ')'"},
      {"<!ELEMENT e (#PCDATA|(a))*>", "Expected name"},
      {"<!ELEMENT e (#PCDATA|a)>", "Expected '?', '*', or '+'"},
      {"<!ELEMENT e (a) *>", "Expected '>'"},
      {"<!ELEMENT e EMPTY x>", "Expected '>'"},
  };
  for (const auto& row : cases) EXPECT_EQ(Declared(row.text), Syntax(row.detail)) << row.text;
}

TEST(OxXMLDocType, AttributeListAndNotationDeclarations) {
  for (const char* fine :
       {"<!ATTLIST e >", "<!ATTLIST e a CDATA #IMPLIED>", "<!ATTLIST e a ID #REQUIRED b NMTOKENS 'x' >",
        "<!ATTLIST e a (x|1|.y ) 'x'>", "<!ATTLIST e a NOTATION (n|m) #FIXED 'n'>",
        "<!NOTATION n SYSTEM 'x'>", "<!NOTATION n PUBLIC 'x'>", "<!NOTATION n PUBLIC 'x' 'y' >"}) {
    EXPECT_EQ(Declared(fine), "") << fine;
  }
  const struct {
    const char* text;
    const char* detail;
  } cases[] = {
      {"<!ATTLIST e>", "Expected whitespace after element name"},
      {"<!ATTLIST e a>", "Expected whitespace after attribute name"},
      {"<!ATTLIST e (x)>", "Expected attribute name"},
      {"<!ATTLIST e a STRING #IMPLIED>", "Invalid attribute type"},
      {"<!ATTLIST e a 'x'>", "Expected name or list. Got 'x'"},
      {"<!ATTLIST e a CDATA>", "Expected whitespace after attribute type"},
      {"<!ATTLIST e a CDATA >", "Invalid attribute value"},
      {"<!ATTLIST e a CDATA #DEFAULT>", "Invalid attribute value"},
      {"<!ATTLIST e a CDATA #FIXED'x'>", "Whitespace expected after #FIXED"},
      {"<!ATTLIST e a CDATA #FIXED x>", "Invalid attribute value"},
      {"<!ATTLIST e a CDATA 'x'b CDATA 'y'>", "Expected whitespace after attribute definition"},
      {"<!ATTLIST e a NOTATION(n) 'x'>", "Expected whitespace after 'NOTATION'"},
      {"<!ATTLIST e a NOTATION n>", "Expected '('. Got 'n'"},
      {"<!ATTLIST e a NOTATION (n,m) 'x'>", "Expected '|' or ')'"},
      {"<!ATTLIST e a () 'x'>", "Expected name token"},
      {"<!ATTLIST e a (x,y) 'x'>", "Expected ')'. Got ','"},
      {"<!NOTATION n>", "Expected whitespace after name"},
      {"<!NOTATION 'x'>", "Expected name"},
      {"<!NOTATION n FOO>", "Expected 'SYSTEM' or 'PUBLIC'"},
      {"<!NOTATION n SYSTEM x>", "Expected system literal"},
      {"<!NOTATION n PUBLIC x>", "Expected public ID literal"},
      {"<!NOTATION n SYSTEM 'x' 'y'>", "Expected '>'. Got 'y'"},
      {"<!NOTATION n PUBLIC 'x''y'>", "Expected '>'. Got 'y'"},
  };
  for (const auto& row : cases) EXPECT_EQ(Declared(row.text), Syntax(row.detail)) << row.text;
}

TEST(OxXMLDocType, EntitiesInUse) {
  const struct {
    const char* subset;
    const char* content;
    const char* outcome;  // In strict mode.
  } cases[] = {
      {"<!ENTITY e 'x'>", "<r>&e;</r>", "D'r' r('x')"},
      {"<!ENTITY e 'x'><!ENTITY e 'y'>", "<r a='&e;'>&e;</r>", "D'r' r{a=x}('x')"},
      {"<!ENTITY e 'b &f; c'><!ENTITY f '<i/>'>", "<r>a&e;</r>", "D'r' r('ab ' i 'c')"},
      {"<!ENTITY e '<i a=\"1\">x</i>'>", "<r>&e;&e;</r>", "D'r' r(i{a=1}('x') i{a=1}('x'))"},
      {"<!ENTITY e \"'&#34;&#38;lt;\">", "<r a='&e;'>&e;</r>", "D'r' r{a='\"<}(''\"<')"},
      {"<!ENTITY e 'a\r\nb\tc'>", "<r a='&e;'>&e;</r>", "D'r' r{a=a b c}('a b c')"},
      {"<!ENTITY e '&#13;'>", "<r a='x&e;\ny'/>", "D'r' r{a=x  y}"},
      {"<!ENTITY e '&#13;&#10;'>", "<r a='&e;\r\n'/>", "D'r' r{a=   }"},
      {"<!ENTITY % p \"<!ENTITY e '&#13;&#10;'>\">%p;", "<r a='&e;'/>", "D'r' r{a=  }"},
      {"<!ENTITY e '  y'>", "<r>x &e;&e; &#32;</r>", "D'r' r('x y y  ')"},
      {"<!ENTITY e '&#60;b/>'>", "<r>&e;</r>", "D'r' r(b)"},
      {"<!ENTITY e ''>", "<r a='&e;'>&e;</r>", "D'r' r{a=}"},
      {"<!ENTITY lt 'x'>", "<r>&lt;</r>", "D'r' r('<')"},
      {"<!ENTITY e '&nobody;'>", "<r>&e;</r>", "Unknown entity 'nobody' at line 1"},
      {"<!ENTITY e SYSTEM 'x'>", "<r>&e;</r>", "Unknown entity 'e' at line 1"},
      {"<!ENTITY e '&'>", "<r>&e;</r>", "Syntax Error (Malformed entity) on line 1."},
      {"<!ENTITY e '&#10;&#10;'>", "<r>&e;&nobody;</r>", "Unknown entity 'nobody' at line 1"},
      // An entity inside itself stays as it is written.
      {"<!ENTITY e 'x&e;'>", "<r a='&e;'>&e;</r>", "D'r' r{a=x&e;}('x&e;')"},
      {"<!ATTLIST r a CDATA '<&nobody;&'>", "<r/>", "D'r' r"},
      {"<!ENTITY e '&f;'><!ENTITY f 'y&e;'>", "<r>&e;&f;</r>", "D'r' r('y&e;y&f;')"},
      // Parameter entities bring declarations.
      {"<!ENTITY % p \"<!ENTITY e 'x'>\">%p;", "<r>&e;</r>", "D'r' r('x')"},
      {"<!ENTITY % p '&#37;p;'>%p;", "<r/>", "D'r' r"},
      {"<!ENTITY % p '<!ENTITY e \"z\">&#37;q;'><!ENTITY % q '<!ENTITY f \"&#38;e;\">'>%p;",
       "<r>&f;</r>", "D'r' r('z')"},
      // Comments and instructions are passed over whole, whatever else token by token.
      {"<!-- ' <!ENTITY e 'x'> --><?p ' ?><!FOO \"]\" x><!ENTITY e 'y'>", "<r>&e;</r>",
       "Syntax Error (Expected '>') on line 1."},
      {"<!-- ' <!ENTITY e 'x'> --><?p ' ?><!FOO x><!ENTITY e 'y'>", "<r>&e;</r>", "D'r' r('y')"},
  };
  // What begins in the subset and ends behind it leads to declarations there.
  EXPECT_EQ(InBothModes("<!DOCTYPE r [<?]><!-- ?><!ENTITY e 'x'>]--><r>&e;</r>"),
            "D'r' ! ?><!ENTITY e 'x'>]! r('x')");
  for (const auto& row : cases) {
    const std::string text = std::string("<!DOCTYPE r [") + row.subset + "]>" + row.content;
    EXPECT_EQ(Outcome(text, true), row.outcome) << text;
  }
}

TEST(OxXMLDocType, TheNodeKeepsWhatWasDeclared) {
  const auto system =
      ParseDoc("<!DOCTYPE a SYSTEM 'p q' [\n <!ENTITY % p 'x'><!ENTITY e '<y>'>\n]>")->GetDocType();
  ASSERT_TRUE(system);
  EXPECT_EQ(Text(system->GetLocalPath()), "p q");
  EXPECT_EQ(Text(system->GetInternalSubset()), "<!ENTITY % p 'x'><!ENTITY e '<y>'>");
  OxString text("old");
  EXPECT_TRUE(system->GetParameterEntity("p", text));
  EXPECT_EQ(Text(text), "x");
  EXPECT_FALSE(system->GetParameterEntity("e", text));
  EXPECT_TRUE(text.empty());
  EXPECT_TRUE(system->GetEntity("e", text));
  EXPECT_TRUE(system->GetEntity("quot", text));
  EXPECT_EQ(Text(text), "\"");
  EXPECT_FALSE(system->GetEntity("p", text));

  system->SetPublicPath("id", "path");
  EXPECT_TRUE(system->GetLocalPath().empty());
  system->SetLocalPath("l");
  EXPECT_TRUE(system->GetPublicID().empty());
  EXPECT_TRUE(system->GetPublicPath().empty());

  const auto literal = OxXMLDoc::Make();
  const OxString early("<!DOCTYPE a [<!ENTITY e 'x]'>]>");
  EXPECT_EQ(OxXMLParser().Parse(early, literal).GetError(), OxXMLError::kSyntaxError);
  EXPECT_FALSE(literal->GetDocType());
  EXPECT_FALSE(literal->HasChildNodes());
  const auto cut = ParseDoc("<!DOCTYPE a [<!-- ]><b/>")->GetDocType();
  EXPECT_EQ(Text(cut->GetInternalSubset()), "<!--");
}

TEST(OxXMLDocType, EntityValuesOutsideAnInternalSubset) {
  const OxString text("<!DOCTYPE a [<!ENTITY % p 'x&#37;q;&#9;'><!ENTITY % q '(&#37;p;)'>]>");
  OxXMLParser parser;
  ASSERT_EQ(parser.Parse(text, OxXMLDoc::Make()).GetError(), OxXMLError::kNoError);
  EXPECT_EQ(Text(parser.NormalizeEntityValue("a%p;&e;&#65;\r\n% %1;&", 3, false)), "ax() &e;A % %1;&");
  // What an entity ends with joins nothing behind it.
  const OxString ends("<!DOCTYPE a [<!ENTITY % p '&#38;#6'><!ENTITY % cr '&#13;'>]>");
  ASSERT_EQ(parser.Parse(ends, OxXMLDoc::Make()).GetError(), OxXMLError::kNoError);
  EXPECT_EQ(Text(parser.NormalizeEntityValue("%p;5;%cr;\n%p;", 3, false)), "&#65;  &#6");
  try {
    parser.NormalizeEntityValue("%nobody;", 3, false);
    FAIL();
  } catch (const OxXMLError& error) {
    EXPECT_EQ(Text(error.GetDescription()), "Unknown entity '%nobody;' at line 3");
  }
}

}  // namespace
