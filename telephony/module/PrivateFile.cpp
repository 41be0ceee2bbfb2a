#include "telephony/module/PrivateFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

bool PrivateFile::readFirstLine(const std::string& path, std::string& line, std::string& why)
{
    struct stat status {};
    if (path.empty() || ::stat(path.c_str(), &status) != 0) {
        why = "the password file " + path + " does not exist";
        return false;
    }
    if (!S_ISREG(status.st_mode)) {
        why = "the password file " + path + " is not a regular file";
        return false;
    }
    if (status.st_uid != ::geteuid()) {
        why = "the password file " + path + " belongs to someone else";
        return false;
    }
    if ((status.st_mode & 077) != 0) {
        why = "the password file " + path + " can be read by others: chmod 600 it";
        return false;
    }
    std::ifstream file(path);
    if (!file || !std::getline(file, line)) {
        why = "the password file " + path + " cannot be read";
        return false;
    }
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return true;
}
