#pragma once

#include "domain/BaseDomain.h"
#include "domain/xml/IDomainXml.h"

// The rows of the factory tables, generated from names.tbl and the schema
// (DomainFactoryTables.cpp in the build tree).
namespace domain_tables {

struct FactoryRow {
    int id;
    const char* name;       // element name
    const char* listKey;    // key of the container table
    const char* className;  // null while no schema entry defines the record
    BaseDomain* (*create)();
    BaseDomain* (*createList)();
    IDomainXml* (*createXml)();
};

// In lookup order.
extern const FactoryRow kFactoryRows[];
extern const int kFactoryRowCount;
// Row indexes sorted by identifier, by element name and by list key (byte
// order); of two rows with one name or key only the first row stands there.
extern const unsigned short kRowsById[];
extern const unsigned short kRowsByName[];
extern const int kRowsByNameCount;
extern const unsigned short kRowsByListKey[];
extern const int kRowsByListKeyCount;

BaseDomain* createBaseDomain();
BaseDomain* createListBaseDomain();
IDomainXml* createBaseDomainXml();

}  // namespace domain_tables
