// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoding/image_decoder.h"

#include <gtest/gtest.h>

#include "decoding/link_test.h"

namespace quill {
namespace {

class ImageDecoderTest : public test::LinkTest {
 protected:
  // A picture that opens, and then does this.
  int32_t Open(std::vector<std::string> lines) {
    lines.emplace_back("image-open reply");
    return m_client.Open(Script(lines), 0);
  }
  int32_t GetData() { return m_client.GetData(&m_pixels, &m_data); }

  CProcessLink m_link{m_table, FAKE_DECODER};
  CImageDecoder m_client{m_link};
  const uint8_t* m_pixels = nullptr;
  wire::ImageData m_data{};
};

TEST_F(ImageDecoderTest, ReadsAPicture) {
  ASSERT_EQ(Open({"image-open flags", "image-info reply 4 24 640 480", "image-data resize 3000",
                  "image-data reply 20 30 100 2", "image-data reply 33 30 100 0"}),
            0);
  EXPECT_EQ(Messages(), test::Lines{"flags 0"});
  wire::ImageInfo info;
  ASSERT_EQ(m_client.GetInfo(&info), 0);
  EXPECT_EQ(info.format, 4U);
  EXPECT_EQ(info.bits, 24U);
  EXPECT_EQ(info.width, 640U);
  EXPECT_EQ(info.height, 480U);
  ASSERT_EQ(GetData(), 0);
  EXPECT_EQ(m_pixels, m_link.Map());
  EXPECT_EQ(m_data.width, 20U);
  EXPECT_EQ(m_data.height, 30U);
  EXPECT_EQ(m_data.rowStep, 100U);
  EXPECT_EQ(ChannelCount(m_data), 4);
  ASSERT_EQ(GetData(), 0);
  EXPECT_EQ(ChannelCount(m_data), 3);
  EXPECT_EQ(m_client.Close(), 0);
}

TEST_F(ImageDecoderTest, StatusOfTheDecoderIsPassedOnWithoutAReport) {
  ASSERT_EQ(Open({"image-info status 5", "image-data status 4294967290", "image-close status 7"}),
            0);
  wire::ImageInfo info{1, 1, 1, 1};
  m_data.width = 9;
  EXPECT_EQ(m_client.GetInfo(&info), 5);
  EXPECT_EQ(info.format, 0U);
  EXPECT_EQ(GetData(), -6);
  EXPECT_EQ(m_data.width, 0U);
  EXPECT_EQ(m_client.Close(), 7);
  EXPECT_EQ(m_client.Open(Script({}), 0), 404);  // no picture
  EXPECT_EQ(Reports(), "");
}

// Rows of these must not be read, whatever the decoder says of them.
TEST_F(ImageDecoderTest, PixelsMustLieInTheMapping) {
  const test::Lines kBad = {"10 30 30 0",                  // no mapping at all yet
                            "10 31 100 0",                 // more rows than fit
                            "34 30 100 0",                 // a row longer than its step
                            "26 30 100 2",                 // the same with alpha
                            "10 65536 65536 0",            // a product beyond 32 bits
                            "1431655766 1 2 0",            // the same of a row
                            "4294967295 4294967295 0 0"};  // rows of no bytes
  for (const std::string& bad : kBad) {
    SCOPED_TRACE(bad);
    test::Lines lines = {"image-data resize 3000", "image-data reply " + bad};
    if (bad == kBad[0]) lines.erase(lines.begin());
    ASSERT_EQ(Open(lines), 0);
    EXPECT_EQ(GetData(), kDecodeBadArgument);
    EXPECT_EQ(m_pixels, nullptr);
    EXPECT_EQ(m_data.width, 0U);
    EXPECT_EQ(Reports(), "Mapping GetData ");
    EXPECT_FALSE(m_link.IsOpen());
  }
}

TEST_F(ImageDecoderTest, LinkFailures) {
  EXPECT_EQ(m_client.Open("", 0), kDecodeBadArgument);
  wire::ImageInfo info;
  EXPECT_EQ(m_client.GetInfo(&info), kDecodeBadArgument);
  EXPECT_EQ(GetData(), kDecodeBadArgument);
  EXPECT_EQ(m_client.Close(), kDecodeBadArgument);
  EXPECT_EQ(Reports(), "Open GetInfo GetData Close ");

  ASSERT_EQ(Open({"image-info cut 12", "image-info reply 4 24 640 480"}), 0);
  EXPECT_EQ(m_client.GetInfo(&info), kDecodeLinkFailed);
  EXPECT_EQ(info.format, 0U);
  EXPECT_FALSE(m_link.IsOpen());
  ASSERT_EQ(Open({"image-data id 5", "image-data status 0"}), 0);  // a new child
  EXPECT_EQ(GetData(), kDecodeLinkFailed);
  EXPECT_FALSE(m_link.IsOpen());
  EXPECT_EQ(m_client.Open(Script({"image-open id 2", "image-open status 0"}), 0),
            kDecodeLinkFailed);
  EXPECT_FALSE(m_link.IsOpen());
  // The orderly end is no failure: the open goes to the successor.
  EXPECT_EQ(Open({"image-open once " + (m_folder / "left") + " exit 10"}), 0);
}

// A large picture's mapping goes back with its file, a small one stays for the next.
TEST_F(ImageDecoderTest, CloseGivesALargeMappingBack) {
  ASSERT_EQ(Open({"image-data resize 2000000", "image-data reply 10 10 30 0"}), 0);
  ASSERT_EQ(GetData(), 0);
  EXPECT_EQ(m_client.Close(), 0);
  EXPECT_EQ(m_link.MapSize(), 0U);
  ASSERT_EQ(Open({"image-data resize 1000000", "image-data reply 10 10 30 0"}), 0);
  ASSERT_EQ(GetData(), 0);
  EXPECT_EQ(m_client.Close(), 0);
  EXPECT_EQ(m_link.MapSize(), 1000000U);
}

}  // namespace
}  // namespace quill
