#include <gtest/gtest.h>

#include <cstdint>

#include "contracts/CRkRef.h"
#include "host/PlayBufferPool.h"

using namespace rkplay;

namespace {

CRkRef<IRkPlayBuffer> Get(const CRkRef<PlayBufferPool>& pool, UINT bytes) {
  CRkRef<IRkPlayBuffer> buffer;
  EXPECT_TRUE(pool->GetBuffer(bytes, buffer.Out()));
  return buffer;
}

TEST(PlayBufferPool, a_plane_is_used_again_for_its_size_and_not_for_a_far_smaller_one) {
  const auto pool = CRkRef<PlayBufferPool>::Adopt(new PlayBufferPool(10000));
  CRkRef<IRkPlayBuffer> first = Get(pool, 1000);
  BYTE* const data = first->GetData();
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(data) % 64, 0u);
  first.Reset();
  EXPECT_NE(Get(pool, 100)->GetData(), data);
  EXPECT_EQ(Get(pool, 900)->GetData(), data);
}

TEST(PlayBufferPool, a_plane_that_is_out_outlives_the_hosts_interest_in_the_pool) {
  auto pool = CRkRef<PlayBufferPool>::Adopt(new PlayBufferPool(10000));
  const CRkRef<IRkPlayBuffer> buffer = Get(pool, 1000);
  pool.Reset();
  buffer->GetData()[999] = 1;
  EXPECT_EQ(buffer->GetCapacity(), 1000u);
}

}  // namespace
