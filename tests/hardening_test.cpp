#include "support/simulated_driver.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gelf.h>
#include <unistd.h>

namespace {

/// Reads the properties of one ELF file of a release build.
class ElfFile
{
public:
    explicit ElfFile(const std::string &path) : m_file(open(path.c_str(), O_RDONLY | O_CLOEXEC))
    {
        elf_version(EV_CURRENT);
        m_elf = elf_begin(m_file, ELF_C_READ, nullptr);
        if (!m_elf)
            throw std::runtime_error("cannot read " + path);
    }
    ~ElfFile()
    {
        elf_end(m_elf);
        close(m_file);
    }
    ElfFile(const ElfFile &) = delete;
    ElfFile &operator=(const ElfFile &) = delete;

    unsigned type() const
    {
        GElf_Ehdr header;
        return gelf_getehdr(m_elf, &header)->e_type;
    }

    std::vector<GElf_Phdr> segments() const
    {
        std::size_t count = 0;
        elf_getphdrnum(m_elf, &count);
        std::vector<GElf_Phdr> found(count);
        for (std::size_t i = 0; i < count; ++i)
            gelf_getphdr(m_elf, static_cast<int>(i), &found[i]);
        return found;
    }

    /// The value of an entry of the dynamic section; 0 if there is none.
    GElf_Xword dynamic(GElf_Sxword tag) const
    {
        GElf_Xword value = 0;
        each(SHT_DYNAMIC, [&](Elf_Data *data, const GElf_Shdr &, int index) {
            GElf_Dyn entry;
            gelf_getdyn(data, index, &entry);
            if (entry.d_tag == tag)
                value = entry.d_un.d_val;
        });
        return value;
    }

    /// Names of the functions that it imports from other libraries.
    std::vector<std::string> imports() const
    {
        std::vector<std::string> names;
        each(SHT_DYNSYM, [&](Elf_Data *data, const GElf_Shdr &section, int index) {
            GElf_Sym symbol;
            gelf_getsym(data, index, &symbol);
            if (symbol.st_shndx == SHN_UNDEF)
                names.emplace_back(elf_strptr(m_elf, section.sh_link, symbol.st_name));
        });
        return names;
    }

    bool defines(const std::string &function) const
    {
        bool found = false;
        each(SHT_SYMTAB, [&](Elf_Data *data, const GElf_Shdr &section, int index) {
            GElf_Sym symbol;
            gelf_getsym(data, index, &symbol);
            found |= symbol.st_shndx != SHN_UNDEF
                && function == elf_strptr(m_elf, section.sh_link, symbol.st_name);
        });
        return found;
    }

    /// The first four bytes of a function, as in the file.
    std::vector<unsigned char> beginning(const std::string &function) const
    {
        GElf_Addr address = 0;
        each(SHT_SYMTAB, [&](Elf_Data *data, const GElf_Shdr &section, int index) {
            GElf_Sym symbol;
            gelf_getsym(data, index, &symbol);
            if (function == elf_strptr(m_elf, section.sh_link, symbol.st_name))
                address = symbol.st_value;
        });
        std::vector<unsigned char> bytes(4);
        for (const GElf_Phdr &segment : segments()) {
            if (segment.p_type != PT_LOAD || address < segment.p_vaddr
                || address >= segment.p_vaddr + segment.p_filesz)
                continue;
            const auto offset = static_cast<off_t>(address - segment.p_vaddr + segment.p_offset);
            EXPECT_EQ(pread(m_file, bytes.data(), bytes.size(), offset), 4);
        }
        return bytes;
    }

private:
    /// Calls @p operation for each entry of the sections of a type.
    template <typename Operation> void each(GElf_Word type, Operation operation) const
    {
        for (Elf_Scn *scn = elf_nextscn(m_elf, nullptr); scn; scn = elf_nextscn(m_elf, scn)) {
            GElf_Shdr section;
            gelf_getshdr(scn, &section);
            if (section.sh_type != type)
                continue;
            const auto count = static_cast<int>(section.sh_size / section.sh_entsize);
            for (int index = 0; index < count; ++index)
                operation(elf_getdata(scn, nullptr), section, index);
        }
    }

    int m_file;
    Elf *m_elf;
};

bool has(const std::vector<std::string> &names, const std::string &name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

const std::string program = LANTERNIX_PROGRAM;
const std::string driver = SimulatedDriver::folder().toStdString() + "/libzorvicboardex.so.1";

class AReleaseBuild : public testing::TestWithParam<std::string>
{
protected:
    const ElfFile file{GetParam()};
};

TEST_P(AReleaseBuild, HasNoSegmentThatIsWritableAndExecutable)
{
    bool has_stack = false;
    for (const GElf_Phdr &segment : file.segments()) {
        EXPECT_NE(segment.p_flags & (PF_W | PF_X), GElf_Word(PF_W | PF_X));
        has_stack |= segment.p_type == PT_GNU_STACK;
    }
    EXPECT_TRUE(has_stack) << "without the entry the stack would be executable";
}

TEST_P(AReleaseBuild, BindsAtStartAndThenWriteProtectsItsTables)
{
    const auto segments = file.segments();
    EXPECT_TRUE(std::any_of(segments.begin(), segments.end(),
                            [](const GElf_Phdr &segment) { return segment.p_type == PT_GNU_RELRO; }));
    EXPECT_TRUE(file.dynamic(DT_FLAGS) & DF_BIND_NOW);
}

TEST_P(AReleaseBuild, LoadsAnywhere)
{
    EXPECT_EQ(file.type(), unsigned(ET_DYN));
}

TEST_P(AReleaseBuild, ProtectsItsStack)
{
    EXPECT_TRUE(has(file.imports(), "__stack_chk_fail"));
}

INSTANTIATE_TEST_SUITE_P(, AReleaseBuild, testing::Values(program, driver), [](const auto &row) {
    return row.param == program ? "Program" : "SimulatedDriver";
});

TEST(TheProgram, IsAPositionIndependentExecutable)
{
    EXPECT_TRUE(ElfFile(program).dynamic(DT_FLAGS_1) & DF_1_PIE);
}

TEST(TheProgram, HoldsTheTraceRecorderThoughNothingCallsIt)
{
    EXPECT_TRUE(
        ElfFile(program).defines("_ZN3Vcd9write_vcdERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE"));
}

// Driver and program are compiled with the same options, but the program calls nothing that could be
// fortified.
TEST(TheSimulatedDriver, ChecksTheBoundsOfTheLibraryCallsThatItMakes)
{
    const auto imports = ElfFile(driver).imports();
    EXPECT_TRUE(has(imports, "__snprintf_chk"));
    EXPECT_FALSE(has(imports, "snprintf"));
}

#ifdef __x86_64__
TEST(EveryTargetOfAnIndirectCall, IsMarkedForTheProcessor)
{
    const std::vector<unsigned char> endbr64 = {0xf3, 0x0f, 0x1e, 0xfa};
    for (const char *function : {"main", "_ZN14ZorvicHardware21processPacketCallbackEiPKhjPv",
                                 "_ZN14ZorvicHardware11pnpCallbackEPv", "_ZN4Item6redrawEv"})
        EXPECT_EQ(ElfFile(program).beginning(function), endbr64) << function;
}
#endif

} // namespace
