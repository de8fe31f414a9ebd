#pragma once

// The shapes of the analysis ability records (region, flag, unit flag, range,
// plain range, float range) and the shared operations that build and read them.
//
// Each shape is a child element of the ability element, named by the tag of the
// item. A region holds `enable`, `edgeNum` and `maxRegionNum`; a flag `enable`
// and an optional `unit`; a range `enable`, `min`, `max` and an optional `unit`.
// Reading never fails an ability parse: what is missing is logged and read as
// false, 0 or the empty unit.

#include <string>

#include "Product/Technic/SafePointer.h"

class DomainXmlNode;

enum class AbilityShapeKind {
    Region,      // child with enable, edgeNum, maxRegionNum
    Flag,        // enable (+ unit on build); the parse does not read unit
    UnitFlag,    // enable and unit, both read
    Range,       // enable, min, max and unit, all read
    PlainRange,  // built as a range; the parse leaves unit alone
    FloatRange,  // a range whose min and max are floats
};

// Fixed text of at most kLength characters plus the terminator, zero-filled.
// A longer text is refused and the old text stays.
class AbilityUnit {
  public:
    static constexpr int kLength = 10;

    AbilityUnit() { clear(); }

    const char* get() const { return m_szText; }
    bool set(const char* text);
    bool empty() const { return m_szText[0] == '\0'; }
    void clear();

    bool operator==(const AbilityUnit& other) const;
    bool operator!=(const AbilityUnit& other) const { return !(*this == other); }

  private:
    char m_szText[kLength + 1];
};

class AbilityRegion {
  public:
    AbilityRegion() : m_bEnable(false), m_nEdgeNum(0), m_nMaxRegionNum(0) {}

    bool getEnable() const { return m_bEnable; }
    void setEnable(bool value) { m_bEnable = value; }
    int getEdgeNum() const { return m_nEdgeNum; }
    void setEdgeNum(int value) { m_nEdgeNum = value; }
    int getMaxRegionNum() const { return m_nMaxRegionNum; }
    void setMaxRegionNum(int value) { m_nMaxRegionNum = value; }

    bool operator==(const AbilityRegion& o) const {
        return m_bEnable == o.m_bEnable && m_nEdgeNum == o.m_nEdgeNum && m_nMaxRegionNum == o.m_nMaxRegionNum;
    }
    bool operator!=(const AbilityRegion& o) const { return !(*this == o); }

  private:
    bool m_bEnable;
    int m_nEdgeNum;
    int m_nMaxRegionNum;
};

// flag and unit flag
class AbilityFlag {
  public:
    AbilityFlag() : m_bEnable(false) {}

    bool getEnable() const { return m_bEnable; }
    void setEnable(bool value) { m_bEnable = value; }
    const char* getUnit() const { return m_objUnit.get(); }
    bool setUnit(const char* text) { return m_objUnit.set(text); }

    bool operator==(const AbilityFlag& o) const {
        return m_bEnable == o.m_bEnable && m_objUnit == o.m_objUnit;
    }
    bool operator!=(const AbilityFlag& o) const { return !(*this == o); }

  private:
    bool m_bEnable;
    AbilityUnit m_objUnit;
};

// range and plain range (int bounds) and float range (float bounds)
template <class V>
class AbilityRangeOf {
  public:
    AbilityRangeOf() : m_bEnable(false), m_min(0), m_max(0) {}

    bool getEnable() const { return m_bEnable; }
    void setEnable(bool value) { m_bEnable = value; }
    V getMin() const { return m_min; }
    void setMin(V value) { m_min = value; }
    V getMax() const { return m_max; }
    void setMax(V value) { m_max = value; }
    const char* getUnit() const { return m_objUnit.get(); }
    bool setUnit(const char* text) { return m_objUnit.set(text); }

    bool operator==(const AbilityRangeOf& o) const {
        return m_bEnable == o.m_bEnable && m_min == o.m_min && m_max == o.m_max && m_objUnit == o.m_objUnit;
    }
    bool operator!=(const AbilityRangeOf& o) const { return !(*this == o); }

  private:
    bool m_bEnable;
    V m_min;
    V m_max;
    AbilityUnit m_objUnit;
};

using AbilityRange = AbilityRangeOf<int>;
using AbilityFloatRange = AbilityRangeOf<float>;

// Build: adds the child element `tag` to `node`. False only when `node` is null.
bool buildAbilityShape(SafePointer<DomainXmlNode>& node, const char* tag, const AbilityRegion& value);
bool buildAbilityShape(SafePointer<DomainXmlNode>& node, const char* tag, const AbilityFlag& value);
bool buildAbilityShape(SafePointer<DomainXmlNode>& node, const char* tag, const AbilityRange& value);
bool buildAbilityShape(SafePointer<DomainXmlNode>& node, const char* tag, const AbilityFloatRange& value);

// Parse: reads the child element `tag` of `node` into `value`, writing the
// shared readers' lines for what is missing. `kind` says which parts are read
// (Flag against UnitFlag, Range against PlainRange); a kind that does not fit
// the value's type is read as the nearest shape of that type. A null `node`
// (the element that holds the shape is itself absent) resets the value
// without a line.
void parseAbilityShape(SafePointer<DomainXmlNode>& node, const char* tag, AbilityShapeKind kind,
                       AbilityRegion& value);
void parseAbilityShape(SafePointer<DomainXmlNode>& node, const char* tag, AbilityShapeKind kind,
                       AbilityFlag& value);
void parseAbilityShape(SafePointer<DomainXmlNode>& node, const char* tag, AbilityShapeKind kind,
                       AbilityRange& value);
void parseAbilityShape(SafePointer<DomainXmlNode>& node, const char* tag, AbilityShapeKind kind,
                       AbilityFloatRange& value);

// Sets every part that a parse of `kind` reads back to a value derived from
// `seed` that differs from the defaults (for round-trip tests); parts that such
// a parse leaves alone stay at their defaults, so build, parse and build again
// print the same bytes.
void fillAbilityShape(AbilityRegion& value, AbilityShapeKind kind, int seed);
void fillAbilityShape(AbilityFlag& value, AbilityShapeKind kind, int seed);
void fillAbilityShape(AbilityRange& value, AbilityShapeKind kind, int seed);
void fillAbilityShape(AbilityFloatRange& value, AbilityShapeKind kind, int seed);
