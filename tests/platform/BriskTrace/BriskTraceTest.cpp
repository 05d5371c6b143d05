#include "routetrie/platform/BriskTrace/BriskTrace.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "routetrie/platform/Corvid/RangeException.h"
#include "tests/platform/Threads.h"

namespace BriskTraceTest {

using BriskTrace::BlockTimer;
using BriskTrace::Entry;
using BriskTrace::MsgDesc;
using BriskTrace::timeStamp;
using BriskTrace::TraceFile;
using BriskTrace::TraceHandle;

std::string pathOf(const std::string& name) {
   return (std::filesystem::temp_directory_path() / fmt::format("routetrie-{}-{}", getpid(), name)).string();
}

std::vector<std::byte> bytesOf(const std::string& path) {
   std::ifstream in(path, std::ios::binary);
   const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
   std::vector<std::byte> bytes(text.size());
   std::memcpy(bytes.data(), text.data(), text.size());
   return bytes;
}

TEST(TraceFile, holdsRecordsWithTheirMessages) {
   const auto file = TraceFile::inMemory();
   EXPECT_TRUE(file->entries().empty());
   const U32 insert = file->messageIs("Trie", 12, "insert");
   const U32 match = file->messageIs("TrieGen", 99, "match");
   EXPECT_NE(insert, match);
   const std::uint64_t begun = timeStamp();
   std::this_thread::sleep_for(std::chrono::milliseconds(3));
   file->record(insert, begun);
   file->record(match, timeStamp());
   const auto entries = file->entries();
   ASSERT_EQ(2u, entries.size());
   EXPECT_EQ("Trie", entries[0].source);
   EXPECT_EQ(12u, entries[0].line);
   EXPECT_EQ("insert", entries[0].text);
   EXPECT_EQ(static_cast<U32>(gettid()), entries[0].thread);
   EXPECT_GE(entries[0].elapsedNs, 2900000u);
   EXPECT_LT(entries[0].elapsedNs, 1000000000u);
   EXPECT_EQ("TrieGen", entries[1].source);
   EXPECT_EQ("match", entries[1].text);
   EXPECT_LT(entries[1].elapsedNs, 1000000u);
   EXPECT_GE(entries[1].startNs, entries[0].startNs + entries[0].elapsedNs);
}

TEST(TraceFile, keepsTheNewestRecords) {
   const auto file = TraceFile::inMemory(5);  // 8
   std::vector<U32> ids;
   for (int i = 0; i < 20; ++i) {
      ids.push_back(file->messageIs("T", static_cast<U32>(i), "m"));
      file->record(ids.back(), timeStamp());
   }
   const auto entries = file->entries();
   ASSERT_EQ(8u, entries.size());
   for (U32 i = 0; i < 8; ++i) {
      EXPECT_EQ(12 + i, entries[i].line);
   }
   EXPECT_EQ(20u, file->recordCount());
}

TEST(TraceFile, aMessageHasOneId) {
   const auto file = TraceFile::inMemory();
   const U32 id = file->messageIs("T", 1, "text");
   EXPECT_EQ(id, file->messageIs("T", 1, "text"));
   EXPECT_NE(id, file->messageIs("T", 2, "text"));
   EXPECT_NE(id, file->messageIs("U", 1, "text"));
   EXPECT_NE(id, file->messageIs("T", 1, "texts"));
}

TEST(TraceFile, anUnknownMessageIsNotRecorded) {
   const auto file = TraceFile::inMemory();
   file->record(0, timeStamp());
   file->record(1, timeStamp());
   file->record(static_cast<U32>(-1), timeStamp());
   EXPECT_EQ(0u, file->recordCount());
}

TEST(TraceFile, aFullPoolGivesNoIdAndKeepsWhatItHas) {
   const auto file = TraceFile::inMemory();
   const std::string text(1000, 'x');
   U32 line = 0;
   while (file->messageIs("T", line, text) != 0) {
      ++line;
   }
   EXPECT_EQ(65u, line);
   EXPECT_NE(0u, file->messageIs("T", 64, text));
   EXPECT_NE(0u, file->messageIs("T", 0, "short"));
}

TEST(TraceFile, aFileOutlivesItsMaker) {
   const std::string path = pathOf("outlives");
   {
      const auto file = TraceFile::inFile(path, 16);
      file->record(file->messageIs("Trie", 3, "kept"), timeStamp());
      EXPECT_EQ(1u, TraceFile::entriesOf(bytesOf(path)).size()) << "readable while it is written";
   }
   const auto bytes = bytesOf(path);
   const auto entries = TraceFile::entriesOf(bytes);
   ASSERT_EQ(1u, entries.size());
   EXPECT_EQ("kept", entries[0].text);
   EXPECT_EQ(64u + 65536u + 16 * 32, std::filesystem::file_size(path));

   const auto again = TraceFile::inFile(path, 16);
   EXPECT_TRUE(TraceFile::entriesOf(bytesOf(path)).empty()) << "a new file replaces the old";
   std::filesystem::remove(path);
}

// A copy for each record would take the square of the file's size.
TEST(TraceFile, textsAreViewsIntoTheBytes) {
   const std::string path = pathOf("views");
   const auto file = TraceFile::inFile(path, 4);
   const U32 id = file->messageIs("Trie", 3, "text");
   file->record(id, timeStamp());
   file->record(id, timeStamp());
   const auto bytes = bytesOf(path);
   std::filesystem::remove(path);
   const auto entries = TraceFile::entriesOf(bytes);
   ASSERT_EQ(2u, entries.size());
   for (const Entry& entry : entries) {
      EXPECT_EQ(static_cast<const void*>(bytes.data() + TraceFile::headerBytes + 2), entry.source.data());
      EXPECT_EQ(entry.source.data() + 5, entry.text.data());
      EXPECT_EQ(id, entry.message);
   }
   auto snapshot = file->entries();
   const auto moved = std::move(snapshot);
   EXPECT_EQ("text", moved[1].text);
   EXPECT_EQ(bytes.size(), TraceFile::sizeOf(std::span(bytes).first(TraceFile::headerBytes)));
   EXPECT_THROW(TraceFile::sizeOf(std::span(bytes).first(TraceFile::headerBytes - 1)), Corvid::RangeException);
}

TEST(TraceFile, aFileThatCantBeMadeIsAnError) {
   EXPECT_THROW(TraceFile::inFile("/nowhere/at/all"), std::system_error);
}

TEST(TraceFile, badBytesAreRefused) {
   const std::string path = pathOf("bad");
   {
      const auto file = TraceFile::inFile(path, 2);
      file->record(file->messageIs("Trie", 3, "text"), timeStamp());
   }
   const auto good = bytesOf(path);
   std::filesystem::remove(path);
   ASSERT_EQ(1u, TraceFile::entriesOf(good).size());

   EXPECT_THROW(TraceFile::entriesOf({}), Corvid::RangeException);
   for (const std::size_t size : {std::size_t{8}, std::size_t{63}, std::size_t{64}, good.size() - 1}) {
      EXPECT_THROW(TraceFile::entriesOf(std::span(good).first(size)), Corvid::RangeException) << size;
   }
   // Each word of the header made wrong in turn: refused, or read without harm.
   for (std::size_t at = 0; at < 64; at += 4) {
      for (const U32 wrong : {0u, 1u, 3u, 0x7fffffffu, 0xffffffffu}) {
         auto bytes = good;
         std::memcpy(bytes.data() + at, &wrong, sizeof wrong);
         try {
            EXPECT_LE(TraceFile::entriesOf(bytes).size(), 2u) << at;
         } catch (const Corvid::RangeException&) {
         }
      }
   }
   // A record of a message that is not there, and a pool that ends within a message.
   auto bytes = good;
   const U32 message = 2;
   std::memcpy(bytes.data() + 64 + 65536 + 24, &message, sizeof message);
   EXPECT_TRUE(TraceFile::entriesOf(bytes).empty());
   bytes = good;
   const U32 poolUsed = 5;
   std::memcpy(bytes.data() + 16, &poolUsed, sizeof poolUsed);
   EXPECT_TRUE(TraceFile::entriesOf(bytes).empty());
}

TEST(TraceHandle, isAbsentByDefault) {
   static TraceHandle handle;  // a file stays to the end
   EXPECT_EQ(nullptr, handle.mtTraceFile());
   EXPECT_EQ(nullptr, BriskTrace::defaultBriskTraceHandle.mtTraceFile());
}

TEST(MsgDesc, registersOnce) {
   static TraceHandle handle;  // a file stays to the end
   handle.traceFileIs(TraceFile::inMemory());
   TraceFile* const file = handle.mtTraceFile();
   static int msgId = 0;
   MsgDesc first(file, &msgId, "Trie", 7);
   first << "one "
         << "text";
   first.finish();
   EXPECT_EQ(1, msgId);
   MsgDesc second(file, &msgId, "Trie", 8);
   second << "another";
   second.finish();
   EXPECT_EQ(1, msgId);
   { const BlockTimer timer(file, msgId, timeStamp()); }
   ASSERT_EQ(1u, file->entries().size());
   EXPECT_EQ("one text", file->entries()[0].text);
   EXPECT_EQ(7u, file->entries()[0].line);
}

TEST(MsgDesc, withoutAFileNothingHappens) {
   static int msgId = 0;
   MsgDesc message(nullptr, &msgId, "Trie", 7);
   message << "text";
   message.finish();
   EXPECT_EQ(0, msgId);
   { const BlockTimer timer(nullptr, 0, 0); }
}

TEST(MsgDesc, aMessageWithoutRoomIsNotTriedAgain) {
   static TraceHandle handle;  // a file stays to the end
   handle.traceFileIs(TraceFile::inMemory());
   static int msgId = 0;
   MsgDesc message(handle.mtTraceFile(), &msgId, "Trie", 7);
   message << std::string(70000, 'x').c_str();
   message.finish();
   EXPECT_EQ(-1, msgId);
   { const BlockTimer timer(handle.mtTraceFile(), msgId, timeStamp()); }
   EXPECT_EQ(0u, handle.mtTraceFile()->recordCount());
}

void timedCall() { ROUTETRIE_TIME_BLOCK("BriskTraceTest"); }

// What the process's file being there changes, in a process of its own, since it stays.
TEST(BriskTraceDeathTest, aTimedBlockRecordsItself) {
   timedCall();
   EXPECT_EXIT(
      {
         BriskTrace::defaultBriskTraceHandle.traceFileIs(TraceFile::inMemory());
         timedCall();
         timedCall();
         const auto entries = BriskTrace::defaultBriskTraceHandle.mtTraceFile()->entries();
         const bool isRight = entries.size() == 2 && entries[1].source == "BriskTraceTest" &&
                              entries[1].text.find("timedCall") != std::string::npos;
         _exit(isRight ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST(BriskTraceDeathTest, aSecondFileIsRefused) {
   EXPECT_DEATH(
      {
         TraceHandle handle;
         handle.traceFileIs(TraceFile::inMemory());
         handle.traceFileIs(TraceFile::inMemory());
      },
      "Assertion `!mtTraceFile\\(\\)' failed");
}

// Threads record and register at once in a small ring while another reads it: what it reads is whole.
TEST(TraceFile, threads) {
   const TestSupport::MultiThreaded multiThreaded;
   const auto file = TraceFile::inMemory(16);
   constexpr std::uint64_t records = 2000;
   TestSupport::runThreads(4, [&](int thread) {
      const std::string source = fmt::format("thread {}", thread);
      for (std::uint64_t i = 0; i < records; ++i) {
         if (thread == 0) {
            if (i % 100 == 0) {
               for (const Entry& entry : file->entries()) {
                  EXPECT_EQ(fmt::format("of {}", entry.source), entry.text);
               }
            }
            continue;
         }
         file->record(file->messageIs(source, static_cast<U32>(i % 7), "of " + source), timeStamp());
      }
   });
   EXPECT_EQ(3 * records, file->recordCount());
   const auto entries = file->entries();
   EXPECT_LE(entries.size(), 16u);
   EXPECT_GE(entries.size(), 1u);
}

}  // namespace BriskTraceTest
