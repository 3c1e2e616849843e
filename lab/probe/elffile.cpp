#include "probe/elffile.h"

#include "recorder/function.h"

#include <algorithm>
#include <array>
#include <iterator>

#include <fcntl.h>
#include <gelf.h>
#include <unistd.h>

namespace probe {

namespace {

/// One open ELF file, and what is read of it.
class ElfFile
{
public:
    explicit ElfFile(const std::string &path) : m_file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK))
    {
        elf_version(EV_CURRENT);
        m_elf = m_file < 0 ? nullptr : elf_begin(m_file, ELF_C_READ, nullptr);
        if (!m_elf || !gelf_getehdr(m_elf, &m_header))
            m_header = {};
    }
    ~ElfFile()
    {
        elf_end(m_elf);
        if (m_file >= 0)
            close(m_file);
    }
    ElfFile(const ElfFile &) = delete;
    ElfFile &operator=(const ElfFile &) = delete;

    const GElf_Ehdr &header() const { return m_header; }
    bool isElf() const { return m_header.e_ident[EI_MAG0] == ELFMAG0; }

    std::vector<std::string> needed() const
    {
        std::vector<std::string> names;
        each(SHT_DYNAMIC, [&](Elf_Data *data, const GElf_Shdr &section, int index) {
            GElf_Dyn entry;
            if (gelf_getdyn(data, index, &entry) && entry.d_tag == DT_NEEDED)
                add(names, section, entry.d_un.d_val);
        });
        return names;
    }

    /// The functions that other libraries may call.
    std::vector<std::string> functions() const
    {
        std::vector<std::string> names;
        each(SHT_DYNSYM, [&](Elf_Data *data, const GElf_Shdr &section, int index) {
            GElf_Sym symbol;
            if (gelf_getsym(data, index, &symbol) && symbol.st_shndx != SHN_UNDEF)
                add(names, section, symbol.st_name);
        });
        return names;
    }

private:
    void add(std::vector<std::string> &names, const GElf_Shdr &section, std::size_t at) const
    {
        if (const char *const name = elf_strptr(m_elf, section.sh_link, at))
            names.emplace_back(name);
    }

    /// Runs @p take on each entry of the sections of one type.
    template <typename Take> void each(GElf_Word type, Take take) const
    {
        for (Elf_Scn *at = elf_nextscn(m_elf, nullptr); at; at = elf_nextscn(m_elf, at)) {
            GElf_Shdr section;
            if (!gelf_getshdr(at, &section) || section.sh_type != type || section.sh_entsize == 0)
                continue;
            Elf_Data *const data = elf_getdata(at, nullptr);
            const auto count = static_cast<int>(section.sh_size / section.sh_entsize);
            for (int index = 0; data && index < count; ++index)
                take(data, section, index);
        }
    }

    const int m_file;
    Elf *m_elf = nullptr;
    GElf_Ehdr m_header{};
};

std::string architectureName(int machine)
{
    switch (machine) {
    case EM_X86_64:
        return "x86-64";
    case EM_386:
        return "x86";
    case EM_AARCH64:
        return "AArch64";
    case EM_ARM:
        return "ARM";
    case EM_RISCV:
        return "RISC-V";
    default:
        return "machine " + std::to_string(machine);
    }
}

} // namespace

ElfFacts readElf(const std::string &path)
{
    ElfFacts facts;
    const ElfFile file(path);
    if (!file.isElf())
        return facts;
    const ElfFile self("/proc/self/exe");
    const auto is = [&](int at) { return file.header().e_ident[at] == self.header().e_ident[at]; };
    facts.isElf = true;
    facts.isLibrary = file.header().e_type == ET_DYN;
    facts.bits = file.header().e_ident[EI_CLASS] == ELFCLASS32 ? 32 : 64;
    facts.architecture = architectureName(file.header().e_machine);
    facts.fitsThisProcess = is(EI_CLASS) && is(EI_DATA) && file.header().e_machine == self.header().e_machine;
    facts.needed = file.needed();
    const std::vector<std::string> all = file.functions();
    for (const recorder::FunctionNames &function : recorder::functionNames) {
        if (std::find(all.begin(), all.end(), function.name) != all.end())
            facts.functions.emplace_back(function.name);
    }
    return facts;
}

} // namespace probe
