#include "module/jobs/job_map.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace orn::RemoteAccess;

// Of many threads that come and go with jobs of the same ids, a thread-checking build tells races.
TEST(JobMap, ThreadsThatShareIdsFindWholeJobsOnly) {
  JobMap jobs;
  std::vector<std::jthread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&, thread] {
      for (int round = 0; round < 300; ++round) {
        const std::wstring number = std::to_wstring((round + thread) % 3);
        const orn::StringT<wchar_t> id(number.c_str());
        const orn::StringT<wchar_t> operation((L"operation " + number).c_str());
        auto job = std::make_shared<FileOperationJob>();
        job->type = kUploadJob;
        jobs.Add(id, job);
        jobs.AssignOperationId(id, operation);
        const auto found = jobs.FindByOperationId(operation, kUploadJob);
        EXPECT_TRUE(!found || found->jobId == id);
        const auto assigned = jobs.GetOperationId(id, kUploadJob);
        EXPECT_TRUE(assigned.empty() || assigned == operation);
        EXPECT_TRUE(jobs.GetOperationId(id, kDownloadJob).empty());
        jobs.Remove(id);
      }
    });
  }
  threads.clear();
  EXPECT_EQ(jobs.Find(L"0"), nullptr);
  EXPECT_FALSE(jobs.FindByOperationId(L"", kUploadJob));
}

}  // namespace
