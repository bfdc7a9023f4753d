// The list of strings of each element record, through which the narrow
// twins convert records field by field.
#include <cstring>
#include <set>

#include <gtest/gtest.h>

#include "base/tracked_memory.h"
#include "document/narrow_records.h"
#include "document/svg_element_handlers.h"

TEST(RecordTextFields, ListsOnlyStringsThatTheRecordOwns)
{
    for (uint32_t type = SVG_ELEMENT_SVG; type <= SVG_ELEMENT_MASK; ++type) {
        SCOPED_TRACE(type);
        const uint32_t size = ElementRecordSize(type);
        ASSERT_GT(size, 0u);
        RecordTextField fields[kMaxRecordTextFields];
        const size_t count = RecordTextFields(type, fields);
        // Every record has the core group's id and xml:base; a list that
        // fills the array may have lost its tail.
        EXPECT_GE(count, 2u);
        EXPECT_LT(count, kMaxRecordTextFields);
        std::set<uint32_t> offsets;
        for (size_t i = 0; i < count; ++i) {
            EXPECT_GE(fields[i].offset, 4u);
            EXPECT_LE(fields[i].offset + sizeof(void*), size);
            EXPECT_TRUE(offsets.insert(fields[i].offset).second) << "listed twice: " << fields[i].offset;
        }
        // A block at every listed place is given back by the record's own
        // free: each place is a string the record owns.
        alignas(16) unsigned char record[4096];
        ASSERT_EQ(InitElementRecord(type, record, size), SUCCESS);
        const size_t before = TrackedLiveBlocks();
        for (size_t i = 0; i < count; ++i) {
            void* block = KV_ALLOC(4, 1);
            ASSERT_NE(block, nullptr);
            std::memcpy(block, "abc", 4);
            std::memcpy(record + fields[i].offset, &block, sizeof block);
        }
        EXPECT_EQ(FreeElementRecord(type, record), SUCCESS);
        EXPECT_EQ(TrackedLiveBlocks(), before);
    }
    RecordTextField fields[kMaxRecordTextFields];
    EXPECT_EQ(RecordTextFields(SVG_ELEMENT_UNKNOWN, fields), 0u);
    EXPECT_EQ(RecordTextFields(SVG_ELEMENT_DOCUMENT, fields), 0u);
    EXPECT_EQ(RecordTextFields(47, fields), 0u);
}

TEST(RecordTextFields, CharacterDataCarriesItsCount)
{
    const struct {
        uint32_t type;
        uint32_t textOffset;
        uint32_t countOffset;
    } rows[] = {
        {SVG_ELEMENT_TEXT, offsetof(SvgTextElement, text), offsetof(SvgTextElement, textCount)},
        {SVG_ELEMENT_TSPAN, offsetof(SvgTSpanElement, text), offsetof(SvgTSpanElement, textCount)},
        {SVG_ELEMENT_TEXTPATH, offsetof(SvgTextPathElement, text), offsetof(SvgTextPathElement, textCount)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.type);
        RecordTextField fields[kMaxRecordTextFields];
        const size_t count = RecordTextFields(row.type, fields);
        size_t counted = 0;
        for (size_t i = 0; i < count; ++i) {
            if (fields[i].countOffset) {
                ++counted;
                EXPECT_EQ(fields[i].offset, row.textOffset);
                EXPECT_EQ(fields[i].countOffset, row.countOffset);
            }
        }
        EXPECT_EQ(counted, 1u);
    }
}
