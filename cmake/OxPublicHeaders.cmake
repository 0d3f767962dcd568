# The headers of the libraries for programs of others: what is installed. They bring no header that is not listed here; a
# test reads this list.
set(OX_PUBLIC_HEADERS
  Core/Source/Posix/Encodings.h
  Core/Source/Posix/FileTypes.h
  Core/Source/Posix/GrowingMemory.h

  Core/Source/Foundation/OxBuffer.h
  Core/Source/Foundation/OxPath.h
  Core/Source/Foundation/OxString.h
  Core/Source/Foundation/Retainable.h
  Core/Source/Foundation/SecureZeroMemory.h
  Core/Source/Foundation/SmartPtr.h
  Core/Source/Foundation/UnicodeConversion.h

  Converter/Source/Utilities/TextDecoding.h

  Core/Source/Files/FileStatus.h
  Core/Source/Files/OxBinaryData.h
  Core/Source/Files/OxFile.h
  Core/Source/Files/OxFileUtils.h
  Core/Source/Files/OxMappedFile.h
  Core/Source/Files/OxPathMatcher.h

  Core/Source/Archive/ArchiveErrors.h
  Core/Source/Archive/DamageWatch.h
  Core/Source/Archive/FlatFileFormat.h
  Core/Source/Archive/LinkTrail.h
  Core/Source/Archive/OxDataFile.h
  Core/Source/Archive/Scramble.h

  Core/Source/Signing/CryptoHandles.h
  Core/Source/Signing/OxCertificate.h
  Core/Source/Signing/OxCertificateStore.h
  Core/Source/Signing/OxFileSigner.h
  Core/Source/Signing/OxSignature.h

  Core/Source/Xml/OxScanner.h
  Core/Source/Xml/OxXMLCDATANode.h
  Core/Source/Xml/OxXMLCommentNode.h
  Core/Source/Xml/OxXMLDOMException.h
  Core/Source/Xml/OxXMLDoc.h
  Core/Source/Xml/OxXMLDocTypeNode.h
  Core/Source/Xml/OxXMLElementNode.h
  Core/Source/Xml/OxXMLError.h
  Core/Source/Xml/OxXMLName.h
  Core/Source/Xml/OxXMLNode.h
  Core/Source/Xml/OxXMLPINode.h
  Core/Source/Xml/OxXMLParser.h
  Core/Source/Xml/OxXMLScanner.h
  Core/Source/Xml/XMLBuilder.h
  Core/Source/Xml/XMLCharacters.h
  Core/Source/Xml/XMLDeclarations.h
  Core/Source/Xml/XMLExpansion.h
  Core/Source/Xml/XMLNodeMemory.h
  Core/Source/Xml/XMLPack.h
)
