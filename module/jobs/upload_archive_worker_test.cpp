#include "module/jobs/upload_archive_worker.h"

#include <gtest/gtest.h>

#include <thread>

#include "module/feature/testing/call_list.h"
#include "module/frame/testing/semaphore.h"
#include "module/frame/utf.h"

namespace {

using namespace orn::RemoteAccess;

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
    told_.Add(orn::ToUtf8(task.jobId.view()).c_str() +
              (' ' + std::to_string(task.result) + (own_thread ? " here" : "")));
  }

  uint32_t Prepare(const wchar_t* job) {
    UploadArchiveInput input;
    input.runContext = L"{}";
    input.items.resize(1);
    return worker_.Prepare(job, input);
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
  Semaphore packing_, go_on_;
  CallList told_;
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
  EXPECT_EQ(told_.Take(), Calls{"2 1223 here"}) << "before Cancel returns";
  EXPECT_EQ(worker_.Cancel(L"2"), 6u);
  EXPECT_EQ(Prepare(L"31"), 0u);

  EXPECT_EQ(worker_.Cancel(L"current"), 0u);
  EXPECT_EQ(told_.Take(), Calls{}) << "the worker tells of it once the packing has ended";
  go_on_.Release(31);
  const Calls told = told_.Take(31);
  EXPECT_EQ(told[0], "current 1223");
  EXPECT_EQ(told[1], "1 0") << "the wish to end was for the other one";
  EXPECT_EQ(told[2], "3 0");
  EXPECT_EQ(told.back(), "31 0");
  worker_.Stop();
}

TEST_F(UploadArchiveWorkerTest, StopCancelsTheCurrentTaskAndHandsOutTheWaitingOnesAsTheyAre) {
  EXPECT_EQ(Prepare(L"until the stop"), 0u);
  packing_.Acquire();
  EXPECT_EQ(Prepare(L"1"), 0u);
  EXPECT_EQ(Prepare(L"2"), 0u);
  worker_.Stop();
  EXPECT_EQ(told_.Take(), (Calls{"until the stop 1223", "1 0 here", "2 0 here"}));
  worker_.Stop();
  EXPECT_EQ(told_.Take(), Calls{});
}

TEST_F(UploadArchiveWorkerTest, FirstTasksAtOnceStartOneWorker) {
  {
    std::vector<std::jthread> callers;
    for (int i = 0; i < 8; ++i)
      callers.emplace_back([&] { EXPECT_EQ(Prepare(L"job"), 0u); });
  }
  for (int i = 0; i < 8; ++i) {
    packing_.Acquire();
    EXPECT_EQ(told_.Take(), Calls{}) << "one after the other";
    go_on_.Release();
    told_.Take(1);
  }
  worker_.Stop();
}

}  // namespace
