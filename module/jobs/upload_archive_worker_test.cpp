#include "module/jobs/upload_archive_worker.h"

#include <gmock/gmock.h>

#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "module/frame/testing/semaphore.h"

namespace {

using namespace orn::RemoteAccess;
using testing::ElementsAre;

// Each packing waits to be let on, and then says whether it was cancelled.
class UploadArchiveWorkerTest : public testing::Test, public FileOperationManagerEvents {
 protected:
  UploadArchiveWorkerTest() { worker_.SetEvents(this); }

  void OnUploadArchivePrepared(const UploadArchiveTask& task,
                               const UploadArchiveMetadata& metadata) override {
    EXPECT_EQ(metadata.jobId, task.jobId);
    EXPECT_EQ(metadata.items.at(0).errorCode, 995);
    EXPECT_EQ(metadata.runContext, L"{}");
    // None of the worker's locks may be held.
    EXPECT_EQ(worker_.Cancel(L"unknown"), 6u);
    const bool own_thread = std::this_thread::get_id() == test_thread_;
    {
      const std::lock_guard lock(mutex_);
      told_.push_back(std::wstring(task.jobId.view()) + L" " + std::to_wstring(task.result) +
                      (own_thread ? L" here" : L""));
    }
    told_of_.Release();
  }

  uint32_t Prepare(const wchar_t* job) {
    UploadArchiveInput input;
    input.runContext = L"{}";
    input.items.resize(1);
    return worker_.Prepare(job, input);
  }

  std::vector<std::wstring> Told() {
    const std::lock_guard lock(mutex_);
    return told_;
  }

  void Pack(UploadArchiveTask& task, PackingControl& control) {
    packing_.Release();
    if (task.jobId == L"until the stop") {
      while (!control.IsStopped())
        std::this_thread::yield();
    } else {
      go_on_.Acquire();
    }
    task.result = control.IsTaskCancelled(task.jobId) ? 1223 : 0;
    control.ClearCancelled();
  }

  const std::thread::id test_thread_ = std::this_thread::get_id();
  Semaphore packing_, go_on_, told_of_;
  std::mutex mutex_;
  std::vector<std::wstring> told_;
  UploadArchiveWorker worker_{[this](UploadArchiveTask& task, UploadArchiveMetadata&,
                                     PackingControl& control) { Pack(task, control); }};
};

TEST_F(UploadArchiveWorkerTest, ThirtyWaitBesideTheOneThatIsPackedAndEachCanBeCancelledInItsPlace) {
  EXPECT_EQ(Prepare(L"current"), 0u);
  packing_.Acquire();
  for (int i = 1; i <= 30; ++i)
    EXPECT_EQ(Prepare(std::to_wstring(i).c_str()), 0u);
  EXPECT_EQ(Prepare(L"31"), 170u);

  EXPECT_EQ(worker_.Cancel(L"2"), 0u);
  EXPECT_THAT(Told(), ElementsAre(L"2 1223 here")) << "before Cancel returns";
  EXPECT_EQ(worker_.Cancel(L"2"), 6u);
  EXPECT_EQ(Prepare(L"31"), 0u);

  EXPECT_EQ(worker_.Cancel(L"current"), 0u);
  EXPECT_EQ(Told().size(), 1u) << "the worker tells of it once the packing has ended";
  go_on_.Release(31);
  for (int i = 0; i < 32; ++i)
    told_of_.Acquire();
  const auto told = Told();
  EXPECT_EQ(told[1], L"current 1223");
  EXPECT_EQ(told[2], L"1 0") << "the wish to end was for the other one";
  EXPECT_EQ(told[3], L"3 0");
  EXPECT_EQ(told.back(), L"31 0");
  worker_.Stop();
}

TEST_F(UploadArchiveWorkerTest, StopCancelsTheCurrentTaskAndHandsOutTheWaitingOnesAsTheyAre) {
  EXPECT_EQ(Prepare(L"until the stop"), 0u);
  packing_.Acquire();
  EXPECT_EQ(Prepare(L"1"), 0u);
  EXPECT_EQ(Prepare(L"2"), 0u);
  worker_.Stop();
  EXPECT_THAT(Told(), ElementsAre(L"until the stop 1223", L"1 0 here", L"2 0 here"));
  worker_.Stop();
  EXPECT_EQ(Told().size(), 3u);
}

TEST_F(UploadArchiveWorkerTest, FirstTasksAtOnceStartOneWorker) {
  {
    std::vector<std::jthread> callers;
    for (int i = 0; i < 8; ++i)
      callers.emplace_back([&] { EXPECT_EQ(Prepare(L"job"), 0u); });
  }
  for (int i = 1; i <= 8; ++i) {
    packing_.Acquire();
    EXPECT_EQ(Told().size(), static_cast<size_t>(i - 1)) << "one after the other";
    go_on_.Release();
    told_of_.Acquire();
  }
  worker_.Stop();
}

}  // namespace
