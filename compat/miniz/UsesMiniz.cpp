// Whether an installed miniz has what the package reader calls: compiled and linked by the
// configure step (InstalledMiniz.cmake).
#include <miniz.h>

#if MZ_VERNUM < 0xA100
#error "older than 2.1.0"
#endif

int main(int count, char** arguments) {
    mz_zip_archive archive = {};
    mz_zip_archive_file_stat stat;
    return mz_zip_reader_init_file(&archive, arguments[count - 1], 0) != 0 &&
                   mz_zip_reader_get_num_files(&archive) > 0 &&
                   mz_zip_reader_file_stat(&archive, 0, &stat) != 0 &&
                   mz_zip_reader_extract_to_file(&archive, 0, stat.m_filename, 0) != 0 &&
                   mz_zip_reader_end(&archive) != 0
               ? 0
               : 1;
}
