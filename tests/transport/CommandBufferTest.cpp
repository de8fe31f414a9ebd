#include "transport/CommandBuffer.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>

#include <cstring>
#include <string>

namespace {

std::string bytes(const CommandBuffer& b) {
    return std::string(reinterpret_cast<const char*>(b.getCursor()), b.getLength());
}

TEST(CommandBuffer, AllocRefusesSizesBelowOneAndClearsAKeptBlock) {
    CommandBuffer b;
    EXPECT_FALSE(b.alloc(0));
    EXPECT_FALSE(b.alloc(-5));
    EXPECT_EQ(b.getBase(), nullptr);

    ASSERT_TRUE(b.alloc(8));
    ASSERT_TRUE(b.assign("abcdefgh", 8));
    ASSERT_TRUE(b.consume(3));
    unsigned char* block = b.getBase();
    // Same size: the block is kept, zeroed, cursor and length reset.
    ASSERT_TRUE(b.alloc(8));
    EXPECT_EQ(b.getBase(), block);
    EXPECT_EQ(b.getCursor(), block);
    EXPECT_EQ(b.getLength(), 0u);
    for (unsigned i = 0; i < 8; ++i) EXPECT_EQ(block[i], 0) << i;

    // Another size: a new zeroed block of that capacity.
    ASSERT_TRUE(b.alloc(16));
    EXPECT_EQ(b.getCapacity(), 16u);
    EXPECT_EQ(b.getCursor(), b.getBase());
    for (unsigned i = 0; i < 16; ++i) EXPECT_EQ(b.getBase()[i], 0) << i;

    b.release();
    EXPECT_EQ(b.getBase(), nullptr);
    EXPECT_EQ(b.getCursor(), nullptr);
    EXPECT_EQ(b.at(0), nullptr);
}

TEST(CommandBuffer, AssignAndAppendRespectCapacityAndMissingBlock) {
    CommandBuffer b;
    EXPECT_FALSE(b.assign("x", 1));  // no block
    EXPECT_FALSE(b.append("x", 1));
    ASSERT_TRUE(b.alloc(6));
    EXPECT_FALSE(b.assign(nullptr, 1));
    EXPECT_FALSE(b.append(nullptr, 1));
    EXPECT_FALSE(b.assign("1234567", 7));
    EXPECT_EQ(b.getLength(), 0u);

    ASSERT_TRUE(b.assign("abc", 3));
    ASSERT_TRUE(b.append("def", 3));
    EXPECT_EQ(bytes(b), "abcdef");
    EXPECT_FALSE(b.append("g", 1));  // full: nothing changes
    EXPECT_EQ(b.getLength(), 6u);
    EXPECT_TRUE(b.append("", 0));

    ASSERT_TRUE(b.assign("Z", 1));  // assign rewrites from the start
    EXPECT_EQ(bytes(b), "Z");
}

TEST(CommandBuffer, AppendIntAndShortKeepMemoryOrder) {
    CommandBuffer b;
    ASSERT_TRUE(b.alloc(6));
    const unsigned v = htonl(0x01020304u);
    const unsigned short s = htons(0xA0B1);
    ASSERT_TRUE(b.appendInt(&v));
    ASSERT_TRUE(b.appendShort(&s));
    const unsigned char want[] = {1, 2, 3, 4, 0xA0, 0xB1};
    EXPECT_EQ(0, std::memcmp(b.getBase(), want, 6));
    EXPECT_FALSE(b.appendShort(&s));
    EXPECT_FALSE(b.appendInt(nullptr));
}

TEST(CommandBuffer, ConsumeSetLengthAndAt) {
    CommandBuffer b;
    ASSERT_TRUE(b.alloc(4));
    ASSERT_TRUE(b.assign("wxyz", 4));
    EXPECT_FALSE(b.consume(5));
    EXPECT_EQ(b.getLength(), 4u);
    ASSERT_TRUE(b.consume(1));
    EXPECT_EQ(bytes(b), "xyz");
    EXPECT_EQ(*b.at(0), 'x');
    // at() bounds by the capacity, measured from the cursor.
    EXPECT_NE(b.at(3), nullptr);
    EXPECT_EQ(b.at(4), nullptr);
    ASSERT_TRUE(b.consume(3));
    EXPECT_EQ(b.getLength(), 0u);
    EXPECT_FALSE(b.consume(1));

    b.setLength(100);
    EXPECT_EQ(b.getLength(), 4u);
    b.setLength(2);
    EXPECT_EQ(b.getLength(), 2u);
}

TEST(CommandBuffer, CopiesAreDeepAndKeepTheCursorOffset) {
    CommandBuffer a;
    ASSERT_TRUE(a.alloc(8));
    ASSERT_TRUE(a.assign("12345678", 8));
    ASSERT_TRUE(a.consume(2));
    CommandBuffer c(a);
    EXPECT_NE(c.getBase(), a.getBase());
    EXPECT_EQ(c.getCursor() - c.getBase(), 2);
    EXPECT_EQ(bytes(c), "345678");
    c.getBase()[2] = '!';
    EXPECT_EQ(bytes(a), "345678");
}

}  // namespace
