// Crash consistency of appends: a forked writer is killed at random moments
// (around block boundaries too), or has one of its writes cut short the way
// Linux cuts a write that a kill interrupts; the file must recover with
// every acknowledged item intact. POSIX only (fork, SIGKILL).
//
// QUILLON_KILL_ROUNDS sets the number of random kills (default 30);
// scripts/kill_test.sh runs 1,000.
#if !defined(_WIN32)

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

#include "isf_test_support.h"
#include "store/item_store_file.h"

namespace {

// The write-cutting wrapper: this executable's pwrite replaces the C
// library's for every positioned write of the file classes. Armed in a
// forked writer only: the N-th write from then on writes its first `keep`
// bytes and the process dies.
std::atomic<long> g_writes_before_cut{-1};
std::size_t g_keep = 0;

}  // namespace

extern "C" ssize_t pwrite(int fd, const void* buffer, size_t length, off_t offset) {
  if (g_writes_before_cut.load() >= 0 && g_writes_before_cut.fetch_sub(1) == 0) {
    const std::size_t keep = g_keep < length ? g_keep : length - 1;
    if (keep > 0) ::syscall(SYS_pwrite64, fd, buffer, keep, offset);
    ::raise(SIGKILL);
  }
  return ::syscall(SYS_pwrite64, fd, buffer, length, offset);
}

namespace quillon {
namespace {

using namespace testing;

constexpr std::uint32_t kBlockItems = isf::kItemsPerBlock;

// Item i of every capture here: DIAG TX payloads of 2 to 300 bytes, so that
// records straddle page boundaries, one millisecond apart.
ItemPtr ItemNumber(std::uint32_t i) {
  std::vector<std::uint8_t> payload(2 + (i * 37) % 299);
  payload[0] = 0x0C;
  for (std::size_t k = 1; k < payload.size(); ++k) {
    payload[k] = static_cast<std::uint8_t>(i * 7 + k);
  }
  return MakeItem(kItemDiagTx, TimeAtMs(kSomeMs + i), payload);
}

// Counts shared with the forked writer: what it has been told is stored.
struct Shared {
  std::atomic<std::uint32_t> acknowledged{0};
};

Shared* MapShared() {
  void* memory =
      ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  return memory == MAP_FAILED ? nullptr : new (memory) Shared;
}

struct Cut {
  std::uint32_t append = 0;  // the append whose write is cut
  long write = 0;            // which of its writes (0: the first)
  std::size_t keep = 0;      // bytes of it that reach the file
};

// Forks a writer that appends `items` items to a new file at `path`,
// acknowledging each one in `shared` once AppendItem has returned, and
// dies at `cut` when one is given. Returns the writer's process id.
pid_t StartWriter(const std::u16string& path, Shared* shared, std::uint32_t items,
                  IndexWrites index_writes, const Cut* cut) {
  const pid_t pid = ::fork();
  if (pid != 0) return pid;
  ItemStoreFile file;
  file.SetIndexWrites(index_writes);
  try {
    file.Create(path);
    for (std::uint32_t i = 0; i < items; ++i) {
      const ItemPtr item = ItemNumber(i);
      if (cut != nullptr && cut->append == i) {
        g_keep = cut->keep;
        g_writes_before_cut.store(cut->write);
      }
      file.AppendItem(item.get());
      shared->acknowledged.store(i + 1);
    }
  } catch (...) {
    ::_exit(2);
  }
  ::_exit(0);  // no trailer: the capture stays unterminated
}

// Recovers the file read-only and checks that it holds every acknowledged
// item and at most the one in flight, each intact; then recovers it for
// writing, appends one more item and reopens it closed.
void ExpectRecovered(const TempFile& temp, std::uint32_t acknowledged, const std::string& what) {
  SCOPED_TRACE(what);
  ItemStoreFile file;
  ASSERT_EQ(CodeOf([&] { file.RecoverReadOnly(temp.u16(), nullptr); }), 0u);
  const std::uint32_t count = file.GetItemCount();
  EXPECT_GE(count, acknowledged);
  EXPECT_LE(count, acknowledged + 1);
  for (std::uint32_t i = 0; i < count; ++i) {
    const ItemPtr read = file.ReadItem(i);
    const ItemPtr want = ItemNumber(i);
    ASSERT_EQ(read->TypeCode(), kItemDiagTx) << i;
    ASSERT_EQ(PayloadOf(*read), PayloadOf(*want)) << i;
    ASSERT_EQ(read->Timestamp(), ItemTimestamp::FromMilliseconds(kSomeMs + i)) << i;
  }
  file.Close();
  ItemStoreFile writer;
  writer.OpenUnterminated(temp.u16(), nullptr);
  const ItemPtr more = ItemNumber(count);
  EXPECT_EQ(writer.AppendItem(more.get()), count + 1);
  writer.Close();
  ItemStoreFile closed;
  closed.Open(temp.u16(), true, nullptr);
  EXPECT_EQ(closed.GetItemCount(), count + 1);
  EXPECT_EQ(PayloadOf(*closed.ReadItem(count)), PayloadOf(*more));
}

int WaitFor(pid_t pid) {
  int status = 0;
  ::waitpid(pid, &status, 0);
  return status;
}

// Every way of cutting the writes of an append around a block start and in
// the middle of a block. Writes of an append that starts block 1: the block,
// the link to it, then (with write calls for entries) the entry and the
// record; any other append: entry and record, or the record alone.
struct CutCase {
  const char* what;
  IndexWrites index_writes;
  std::uint32_t append;
  long write;
  std::size_t keep_from, keep_to;  // every cut length in this range
};

TEST(IsfCrash, ACutWriteNeverLosesAnAcknowledgedItem) {
  Shared* shared = MapShared();
  ASSERT_NE(shared, nullptr);
  const CutCase cases[] = {
      {"link", IndexWrites::kMapped, kBlockItems, 1, 1, 7},
      {"new block", IndexWrites::kMapped, kBlockItems, 0, 4095, 4097},
      {"first record of a block", IndexWrites::kMapped, kBlockItems, 2, 1, 3},
      {"record", IndexWrites::kMapped, 100, 0, 1, 3},
      {"entry", IndexWrites::kWriteCalls, 100, 0, 1, 6},
      {"record after its entry", IndexWrites::kWriteCalls, 100, 1, 1, 3},
      {"entry of a block's first item", IndexWrites::kWriteCalls, kBlockItems, 2, 1, 6},
  };
  for (const CutCase& c : cases) {
    for (std::size_t keep = c.keep_from; keep <= c.keep_to; ++keep) {
      TempFile temp(u"crash");
      shared->acknowledged.store(0);
      const Cut cut{c.append, c.write, keep};
      const int status =
          WaitFor(StartWriter(temp.u16(), shared, c.append + 3, c.index_writes, &cut));
      ASSERT_TRUE(WIFSIGNALED(status)) << c.what;
      ASSERT_EQ(shared->acknowledged.load(), c.append) << c.what;
      ExpectRecovered(temp, c.append, std::string(c.what) + " cut at " + std::to_string(keep));
    }
  }
}

TEST(IsfCrash, ACaptureKilledBeforeItsFirstItemIsReportedEmpty) {
  Shared* shared = MapShared();
  ASSERT_NE(shared, nullptr);
  TempFile temp(u"crash");
  const Cut cut{0, 0, 4096};  // block 0 cut short
  ASSERT_TRUE(WIFSIGNALED(WaitFor(StartWriter(temp.u16(), shared, 1, IndexWrites::kMapped, &cut))));
  ItemStoreFile file;
  const std::string what = WhatOf([&] { file.RecoverReadOnly(temp.u16(), nullptr); });
  EXPECT_NE(what.find("holds no items"), std::string::npos) << what;
  EXPECT_NE(what.find("(error 160)"), std::string::npos) << what;
}

TEST(IsfCrash, RandomKillsNeverLoseAnAcknowledgedItem) {
  const char* rounds_text = std::getenv("QUILLON_KILL_ROUNDS");
  const int rounds = rounds_text != nullptr ? std::atoi(rounds_text) : 30;
  Shared* shared = MapShared();
  ASSERT_NE(shared, nullptr);
  std::mt19937 rng(std::random_device{}());
  const auto below = [&](std::uint32_t n) { return static_cast<std::uint32_t>(rng() % n); };
  constexpr std::uint32_t kItems = 3 * kBlockItems;
  std::uint64_t acknowledged_total = 0;
  for (int round = 0; round < rounds; ++round) {
    TempFile temp(u"kill");
    shared->acknowledged.store(0);
    // Half of the kills aim at a block boundary, the others anywhere.
    const std::uint32_t target =
        round % 2 == 0 ? (1 + below(2)) * kBlockItems - 2 + below(4) : below(kItems);
    const IndexWrites how = round % 4 == 3 ? IndexWrites::kWriteCalls : IndexWrites::kMapped;
    const pid_t pid = StartWriter(temp.u16(), shared, kItems, how, nullptr);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (shared->acknowledged.load() < target && std::chrono::steady_clock::now() < deadline) {
    }
    // A few microseconds more, so the kill lands anywhere inside an append.
    for (std::uint32_t spin = below(2000); spin > 0; --spin) {
      std::atomic_signal_fence(std::memory_order_seq_cst);
    }
    ::kill(pid, SIGKILL);
    WaitFor(pid);
    const std::uint32_t acknowledged = shared->acknowledged.load();
    acknowledged_total += acknowledged;
    ExpectRecovered(
        temp, acknowledged,
        "round " + std::to_string(round) + ", " + std::to_string(acknowledged) + " acknowledged");
    if (HasFatalFailure()) return;
  }
  RecordProperty("kills", rounds);
  RecordProperty("acknowledged", std::to_string(acknowledged_total));
  std::printf("%d kills, %llu acknowledged appends, none lost\n", rounds,
              static_cast<unsigned long long>(acknowledged_total));
}

}  // namespace
}  // namespace quillon

#endif  // !_WIN32
