// The items of a settings file: each binds a variable of the caller to a key, or a container to a
// whole section. An item is owned by the iniFile it was added to; the bound variable stays the
// caller's and has to live as long as the item. One thread at a time.
//
// Names compare without regard to the case of "a" to "z"; values are trimmed of blanks and tabs
// when they are read. Numbers always use "." as the decimal separator, whatever the user's settings
// say.
#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "services/core/kor_text.h"
#include "services/ini/ini_lines.h"

namespace kor {

class iniStruct {
 public:
  iniStruct(KorText section, KorText key)
      : sectionName(std::move(section)), keyName(std::move(key)) {}
  iniStruct(const iniStruct&) = delete;
  iniStruct& operator=(const iniStruct&) = delete;

  virtual KorText ValueText() const { return {}; }
  // Takes the value's text. Null when the key is missing: the variable takes its default.
  virtual void SetFromText(const KorText* /*text*/) {}
  virtual ~iniStruct() = default;
  virtual void WriteTo(iniLines& lines);
  virtual void ReadFrom(iniLines& lines);

  const KorText& SectionName() const { return sectionName; }
  const KorText& KeyName() const { return keyName; } // empty for blocks

 private:
  KorText sectionName;
  KorText keyName;
};

// Owns a whole section: reading takes every line of it that is not empty, writing replaces all of
// them, comments included.
class iniBlock : public iniStruct {
 public:
  explicit iniBlock(KorText section) : iniStruct(std::move(section), {}) {}
  void WriteTo(iniLines& lines) override;
  void ReadFrom(iniLines& lines) override;

  // Returns the block's line of this number; an empty text ends the block.
  virtual KorText LineText(std::size_t /*index*/) const { return {}; }
  // Takes the trimmed line of this number; null when the section is missing or empty.
  virtual void AddLine(const KorText* /*text*/, std::size_t /*index*/) {}
  virtual void ClearTarget() {}
};

class iniInteger : public iniStruct {
 public:
  iniInteger(KorText section, KorText key, std::int32_t* value, std::int32_t defaultValue = 0)
      : iniStruct(std::move(section), std::move(key)), target(value), standard(defaultValue) {}
  // Reads and writes the same signed numbers.
  iniInteger(KorText section, KorText key, std::uint32_t* value, std::uint32_t defaultValue = 0)
      : iniStruct(std::move(section), std::move(key)), unsignedTarget(value),
        standard(static_cast<std::int32_t>(defaultValue)) {}
  KorText ValueText() const override;
  void SetFromText(const KorText* text) override;

 private:
  std::int32_t* target = nullptr; // one of the two is set
  std::uint32_t* unsignedTarget = nullptr;
  std::int32_t standard;
};

// A real number, written with 1 to 8 decimals and rounded as printf does; a value that is no finite
// number is written as 0.0.
class iniReal : public iniStruct {
 public:
  iniReal(KorText section, KorText key, double* value, double defaultValue = 0)
      : iniStruct(std::move(section), std::move(key)), target(value), standard(defaultValue) {}
  KorText ValueText() const override;
  void SetFromText(const KorText* text) override;

 private:
  double* target;
  double standard;
};

class iniString : public iniStruct {
 public:
  iniString(KorText section, KorText key, KorText* value, KorText defaultValue = {})
      : iniStruct(std::move(section), std::move(key)), target(value),
        standard(std::move(defaultValue)) {}
  KorText ValueText() const override { return *target; }
  void SetFromText(const KorText* text) override { *target = text ? *text : standard; }

 private:
  KorText* target;
  KorText standard;
};

// One text of a table, kept as its index. The index is not checked against the table before it is
// written, which is intended; one that names no text of the table is written as an empty text. Only
// an empty table takes the default. A default outside the table becomes 0.
class iniStrOpt : public iniStruct {
 public:
  iniStrOpt(KorText section, KorText key, std::int32_t* index, std::vector<KorText> optionTexts,
            std::int32_t defaultIndex = 0);
  KorText ValueText() const override;
  void SetFromText(const KorText* text) override;

 private:
  std::int32_t Count() const { return static_cast<std::int32_t>(options.size()); }

  std::int32_t* target;
  std::vector<KorText> options;
  std::int32_t standard;
};

// A colour: byte 0 red, byte 1 green, byte 2 blue, byte 3 zero; in the file "red green blue".
class iniColor : public iniStruct {
 public:
  iniColor(KorText section, KorText key, std::uint32_t* colour, std::uint32_t defaultColour = 0)
      : iniStruct(std::move(section), std::move(key)), target(colour), standard(defaultColour) {}
  KorText ValueText() const override;
  void SetFromText(const KorText* text) override;

 private:
  std::uint32_t* target;
  std::uint32_t standard;
};

// A number in upper-case hexadecimal digits without prefix or leading zeros; 0 is written as "0".
class iniHex : public iniStruct {
 public:
  iniHex(KorText section, KorText key, std::uint32_t* value, std::uint32_t defaultValue = 0)
      : iniStruct(std::move(section), std::move(key)), target(value), standard(defaultValue) {}
  KorText ValueText() const override;
  void SetFromText(const KorText* text) override;

 private:
  std::uint32_t* target;
  std::uint32_t standard;
};

// A section as a list of its lines. An empty element ends the list when it is written.
class iniStringList : public iniBlock {
 public:
  iniStringList(KorText section, std::vector<KorText>* list)
      : iniBlock(std::move(section)), target(list) {}
  KorText LineText(std::size_t index) const override;
  void AddLine(const KorText* text, std::size_t index) override;
  void ClearTarget() override { target->clear(); }

 private:
  std::vector<KorText>* target;
};

// The chained text array, which grows without moving its elements.
using KorTextArray = std::deque<KorText>;

class iniStringArray : public iniBlock {
 public:
  iniStringArray(KorText section, KorTextArray* array)
      : iniBlock(std::move(section)), target(array) {}
  KorText LineText(std::size_t index) const override;
  void AddLine(const KorText* text, std::size_t index) override;
  void ClearTarget() override { target->clear(); }

 private:
  KorTextArray* target;
};

// A section as two parallel lists of keys and values. A line without "=" or without a key is left
// out; a missing or empty section gives the default pair, when the default has a key.
class iniEquBlock : public iniBlock {
 public:
  iniEquBlock(KorText section, std::vector<KorText>* keyList, std::vector<KorText>* valueList,
              KorText keyByDefault = {}, KorText valueByDefault = {})
      : iniBlock(std::move(section)), keys(keyList), values(valueList),
        defaultKey(std::move(keyByDefault)), defaultValue(std::move(valueByDefault)) {}
  KorText LineText(std::size_t index) const override;
  void AddLine(const KorText* text, std::size_t index) override;
  void ClearTarget() override;

 private:
  void AddPair(KorText key, KorText value, std::size_t index);

  std::vector<KorText>* keys;
  std::vector<KorText>* values;
  KorText defaultKey;
  KorText defaultValue;
};

} // namespace kor
