#include "torture/lackingdriver.h"

#include "language.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <gelf.h>
#include <unistd.h>

namespace torture {

namespace {

using lab::trLater;

/// An ELF file that is changed in its place.
class WritableElf
{
public:
    explicit WritableElf(const std::string &path) : m_file(open(path.c_str(), O_RDWR | O_CLOEXEC))
    {
        elf_version(EV_CURRENT);
        m_elf = m_file < 0 ? nullptr : elf_begin(m_file, ELF_C_READ, nullptr);
    }
    ~WritableElf()
    {
        elf_end(m_elf);
        if (m_file >= 0)
            close(m_file);
    }
    WritableElf(const WritableElf &) = delete;
    WritableElf &operator=(const WritableElf &) = delete;

    bool isElf() const { return m_elf && elf_kind(m_elf) == ELF_K_ELF; }

    /// False if the file cannot be written.
    bool hide(const Lines &functions) const
    {
        for (Elf_Scn *at = elf_nextscn(m_elf, nullptr); at; at = elf_nextscn(m_elf, at)) {
            GElf_Shdr section;
            if (!gelf_getshdr(at, &section) || section.sh_type != SHT_DYNSYM || section.sh_entsize == 0)
                continue;
            if (!hideIn(elf_getdata(at, nullptr), section, functions))
                return false;
        }
        return true;
    }

private:
    bool hideIn(Elf_Data *symbols, const GElf_Shdr &section, const Lines &functions) const
    {
        const auto count = static_cast<int>(section.sh_size / section.sh_entsize);
        for (int index = 0; symbols && index < count; ++index) {
            GElf_Sym symbol;
            const char *const name = gelf_getsym(symbols, index, &symbol)
                ? elf_strptr(m_elf, section.sh_link, symbol.st_name)
                : nullptr;
            if (!name || std::find(functions.begin(), functions.end(), name) == functions.end())
                continue;
            const auto at = section.sh_offset + static_cast<std::size_t>(index) * section.sh_entsize;
            if (!hide(at + otherAt(), symbol.st_other))
                return false;
        }
        return true;
    }

    /// Where the byte with the visibility is in a symbol.
    std::size_t otherAt() const
    {
        return gelf_getclass(m_elf) == ELFCLASS32 ? offsetof(Elf32_Sym, st_other)
                                                  : offsetof(Elf64_Sym, st_other);
    }

    bool hide(std::size_t at, unsigned char other) const
    {
        constexpr unsigned visibility = 3; // the bits that say it
        const auto hidden = static_cast<unsigned char>((other & ~visibility) | STV_HIDDEN);
        return pwrite(m_file, &hidden, 1, static_cast<off_t>(at)) == 1;
    }

    const int m_file;
    Elf *m_elf = nullptr;
};

} // namespace

std::string copyWithout(const Lines &functions, const std::string &library, const std::string &copy)
{
    namespace fs = std::filesystem;
    std::error_code error;
    fs::copy_file(library, copy, fs::copy_options::overwrite_existing, error);
    if (error)
        return std::string(trLater("cannot be copied")) + ": " + strerrordesc_np(error.value());
    fs::permissions(copy, fs::perms::owner_all, fs::perm_options::add, error);
    const WritableElf elf(copy);
    if (!elf.isElf())
        return trLater("is no ELF file");
    return elf.hide(functions) ? ""
                               : std::string(trLater("cannot be changed")) + ": " + strerrordesc_np(errno);
}

} // namespace torture
