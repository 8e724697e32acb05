#include "nycert/platform/registry.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "nycert/platform/cpu_count.h"
#include "support/test_support.h"

namespace {

class RegistryFile : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string text =
        "# settings\n"
        "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Nyvara\\Encryption]\n"
        "\"NumberOfThreads\" = dword:0000000a\n"
        "\"Name\"=\"two words\"\n"
        "\"Bad\"=dword:xyz\n"
        "\"TooLong\"=dword:1234567890\n"
        "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Other]\n"
        "\"Elsewhere\"=dword:00000001\n";
    WriteBytes(dir_.File("reg"), std::vector<unsigned char>(text.begin(), text.end()));
    setenv("NYCERT_REGISTRY", dir_.File("reg").c_str(), 1);
  }
  void TearDown() override { unsetenv("NYCERT_REGISTRY"); }
  TempDir dir_;
};

TEST_F(RegistryFile, ReadsNumbersAndStringsOfItsKeyOnly) {
  HKEY key = nullptr;
  ASSERT_EQ(RegCreateKeyA(HKEY_LOCAL_MACHINE, "software\\nyvara\\ENCRYPTION", &key), ERROR_SUCCESS);
  unsigned long type = 0, size = 4;
  unsigned char data[16];
  ASSERT_EQ(RegQueryValueExA(key, "NumberOfThreads", nullptr, &type, data, &size), ERROR_SUCCESS);
  std::uint32_t number;
  std::memcpy(&number, data, 4);
  EXPECT_EQ(type, static_cast<unsigned long>(REG_DWORD));
  EXPECT_EQ(number, 10u);

  size = 3;
  EXPECT_EQ(RegQueryValueExA(key, "Name", nullptr, &type, data, &size), ERROR_MORE_DATA);
  EXPECT_EQ(size, 10u);
  ASSERT_EQ(RegQueryValueExA(key, "Name", nullptr, &type, data, &size), ERROR_SUCCESS);
  EXPECT_EQ(type, static_cast<unsigned long>(REG_SZ));
  EXPECT_STREQ(reinterpret_cast<char*>(data), "two words");

  for (const char* absent : {"Bad", "TooLong", "Elsewhere", "numberofthreads"})
    EXPECT_EQ(RegQueryValueExA(key, absent, nullptr, &type, data, &size), ERROR_FILE_NOT_FOUND) << absent;
  EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
}

TEST_F(RegistryFile, MissingFileOrKeyGivesAnEmptyKey) {
  setenv("NYCERT_REGISTRY", dir_.File("none").c_str(), 1);
  HKEY key = nullptr;
  ASSERT_EQ(RegCreateKeyA(HKEY_LOCAL_MACHINE, "SOFTWARE\\Nyvara\\Encryption", &key), ERROR_SUCCESS);
  unsigned long size = 0;
  EXPECT_EQ(RegQueryValueExA(key, "NumberOfThreads", nullptr, nullptr, nullptr, &size), ERROR_FILE_NOT_FOUND);
  RegCloseKey(key);
  EXPECT_EQ(RegCreateKeyA(nullptr, "x", &key), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(RegCloseKey(HKEY_LOCAL_MACHINE), ERROR_INVALID_PARAMETER);
}

TEST(ProcessorCount, FixedCountOverridesTheSystem) {
  int real = ob_num_processors();
  EXPECT_GE(real, 1);
  ob_num_processors_set_fixed(1);
  EXPECT_EQ(ob_num_processors(), 1);
  ob_num_processors_set_fixed(0);
  EXPECT_EQ(ob_num_processors(), real);
}

}  // namespace
