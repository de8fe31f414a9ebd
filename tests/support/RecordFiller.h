#pragma once

// Fills a record (visitAll) with values that differ from every default, for
// the catalogue round trips of the tests and the benchmarks.

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "domain/codecs/CodecItems.h"
#include "domain/codecs/IntelligenceAbilityShapes.h"

// Sets every field to a value other than its default.
class RecordFiller {
  public:
    template <class F>
    void attr(const char*, Presence, F& field, const Item& = Item()) {
        set(field);
    }
    template <class F>
    void attrOr(const char*, Presence, F& field, const F&, const Item& = Item()) {
        set(field);
    }
    void text(const char*, Presence, char* field, int max, const Item& = Item()) {
        std::string value = "t" + std::to_string(next());
        if (static_cast<int>(value.size()) > max) value.resize(static_cast<size_t>(max));
        std::memcpy(field, value.c_str(), value.size() + 1);
    }
    void intReadAsFloat(const char*, Presence, int& field, const Item& = Item()) { field = next(); }
    void floatAsInt(const char*, Presence, float& field, const Item& = Item()) {
        field = static_cast<float>(next());
    }
    template <class T>
    void child(const char*, Presence, T& field, const Item& = Item()) {
        nested(field);
    }
    template <class T>
    void baseChild(const char*, Presence, T& base, const Item& = Item()) {
        nested(base);
    }
    template <class T>
    void list(const char*, Presence, std::vector<T>& field, const Item& = Item()) {
        oneMore(field);
    }
    template <class S>
    void scalarList(const char*, const char*, Presence, Presence, std::vector<S>& field,
                    const Item& = Item()) {
        field.resize(2);
        set(field[0]);
        set(field[1]);
    }
    template <class Fn>
    void inlineChild(const char*, Presence, Fn walk, const Item& = Item()) {
        walk(*this);
    }
    template <class S>
    void repeatedInline(const char*, Presence, std::vector<S>& field, const Item& = Item()) {
        field.resize(1);
        S::visitFields(*this, field[0]);
    }
    template <class Shape>
    void shape(const char*, AbilityShapeKind kind, Shape& field, const Item& = Item()) {
        fillAbilityShape(field, kind, next());
    }

  private:
    int next() { return ++m_nSeed; }
    void set(int& v) { v = next(); }
    void set(unsigned short& v) { v = static_cast<unsigned short>(next() % 60000 + 1); }
    void set(unsigned char& v) { v = static_cast<unsigned char>(next() % 200 + 1); }
    void set(int64_t& v) { v = -next(); }
    void set(bool& v) { v = true; }
    void set(float& v) { v = static_cast<float>(next()) + 0.5f; }
    void set(double& v) { v = static_cast<double>(next()) + 0.25; }
    void set(std::string& v) { v = "s" + std::to_string(next()) + " &<>\"'"; }

    template <class T>
    void nested(T& field) {
        if (m_nDepth >= 3) return;
        ++m_nDepth;
        visitAll(*this, field);
        --m_nDepth;
    }
    template <class T>
    void oneMore(std::vector<T>& field) {
        if (m_nDepth >= 3) return;
        field.resize(1);
        nested(field[0]);
    }

    int m_nSeed = 0;
    int m_nDepth = 0;
};
