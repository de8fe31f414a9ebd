#pragma once

#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

// A fresh directory under /tmp, removed with its contents at the end of the scope.
class TempDir {
  public:
    TempDir() {
        char pattern[] = "/tmp/ds_technic_XXXXXX";
        const char* made = mkdtemp(pattern);
        m_strPath = made == nullptr ? std::string() : made;
    }
    ~TempDir() {
        if (!m_strPath.empty()) std::system(("rm -rf '" + m_strPath + "'").c_str());
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return m_strPath; }
    std::string file(const std::string& name) const { return m_strPath + "/" + name; }

    static std::string read(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        std::ostringstream out;
        out << in.rdbuf();
        return out.str();
    }
    static void write(const std::string& path, const std::string& text) {
        std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
    }
    static bool exists(const std::string& path) {
        struct stat info;
        return ::stat(path.c_str(), &info) == 0;
    }

  private:
    std::string m_strPath;
};
