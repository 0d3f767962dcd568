#include "Xml/OxXMLName.h"

OxXMLName::OxXMLName(const OxString& text) : shared_(Hux::SmartPtr<Shared>::Adopt(new Shared(text))) {}
