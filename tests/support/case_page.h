// Visits the cases of a test that are rows of a page; case_rows.h tells how they are written.
#ifndef TESTS_CASE_PAGE_H
#define TESTS_CASE_PAGE_H

#include "support/case_rows.h"

#include <gtest/gtest.h>

/** Visits the rows of a table, or of all where none is named, which have so many columns at the most. */
template <class Visit>
void For_Each_Case(const std::string& name, const std::string& table, std::size_t columns,
                   const Visit& visit)
{
    Case_Page page(name);
    std::vector<std::string> fields;
    bool has_rows = false;
    while (page.Next(table, fields)) {
        const testing::ScopedTrace trace(name.c_str(), page.number, "of the cases");
        EXPECT_LE(fields.size(), columns);
        visit(Case_Row(fields));
        has_rows = true;
    }
    EXPECT_TRUE(has_rows) << "no table " << table << " in " << name;
}

#endif
