#include "PackageFiles.h"
#include "PackageTool.h"

class CreateCommandTest : public PackageTool {
  protected:
    /// What `unzip` puts into a new folder of that name.
    void Unzip(const std::string& package, const std::string& folder) const {
        EXPECT_EQ(Process::Run({"unzip", "-q", Path(package), "-d", Path(folder)}).exitStatus, 0);
    }

    [[nodiscard]] std::string MemberNames(const std::string& package) const {
        return Process::Run({"unzip", "-Z1", Path(package)}).out;
    }
};

TEST_F(CreateCommandTest, PacksAManifestWithTheFilesBesideIt) {
    const std::string manifest = GoodManifest(Upload("camera.dfw") + Upload("lens.dfw", "TFTP"));
    mFolder.Write("src/Manifest.xml", manifest);
    mFolder.Write("src/camera.dfw", GoodPayload(RandomBytes(300000, 1)));
    mFolder.Write("src/lens.dfw", GoodPayload("lens"));
    mFolder.Write("src/unused.dfw", "x");
    Expect({"create", "--manifest", "@src/Manifest.xml", "@p.zip"}, 0, "@p.zip: 3 members\n", "");
    Expect({"check", "@p.zip"}, 0, "@p.zip: no problems found\n", "");
    Unzip("p.zip", "out");
    EXPECT_EQ(ReadFile(Path("out/Manifest.xml")), manifest);
    EXPECT_EQ(ReadFile(Path("out/camera.dfw")), ReadFile(Path("src/camera.dfw")));
    EXPECT_EQ(ReadFile(Path("out/lens.dfw")), ReadFile(Path("src/lens.dfw")));
}

TEST_F(CreateCommandTest, WritesAManifestFromOptions) {
    mFolder.Write("camera.dfw", GoodPayload());
    mFolder.Write("lens.dfw", GoodPayload());
    Expect({"create", "--model", "A (B)  C", "--model", "D", "--upload", "GenICam=@lens.dfw",
            "--upload", "TFTP=@camera.dfw", "--description", "Less <noise> & more", "--version",
            "3.1", "@p.zip"},
           0, "@p.zip: 3 members\n", "");
    Unzip("p.zip", "out");
    EXPECT_EQ(ReadFile(Path("out/Manifest.xml")),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<FirmwareUpdate SchemaMajorVersion=\"1\" SchemaMinorVersion=\"0\">\n"
              "  <Procedure Id=\"update\">\n"
              "    <FileUpload Transport=\"GenICam\">\n"
              "      <FileName>lens.dfw</FileName>\n"
              "    </FileUpload>\n"
              "    <FileUpload Transport=\"TFTP\">\n"
              "      <FileName>camera.dfw</FileName>\n"
              "    </FileUpload>\n"
              "  </Procedure>\n"
              "  <Update ProcedureId=\"update\">\n"
              "    <Info Name=\"Description\">Less &lt;noise&gt; &amp; more</Info>\n"
              "    <Info Name=\"Version\">3.1</Info>\n"
              "    <Condition Feature=\"DeviceModelName\">A \\(B\\) \\x20C|D</Condition>\n"
              "  </Update>\n"
              "</FirmwareUpdate>\n");
    Expect({"check", "--model", "A (B)  C", "--model", "D", "@p.zip"}, 0,
           "@p.zip: no problems found\n", "");
    Expect({"check", "--model", "A (B) C", "@p.zip"}, 1,
           "error: A (B) C: No update in this package is for A (B) C\n", "");
}

TEST_F(CreateCommandTest, WritesTheSameBytesEachTime) {
    mFolder.Write("a.dfw", GoodPayload());
    EXPECT_EQ(Run({"create", "--model=M", "--upload=TFTP=@a.dfw", "@p.zip"}).exitStatus, 0);
    mFolder.Write("a.dfw", GoodPayload());
    EXPECT_EQ(Run({"create", "--model=M", "--upload=TFTP=@a.dfw", "@q.zip"}).exitStatus, 0);
    EXPECT_EQ(ReadFile(Path("p.zip")), ReadFile(Path("q.zip")));
}

TEST_F(CreateCommandTest, OrdersMembersSoThatNoNameIsFoundWithinAnEarlierOne) {
    mFolder.Write("my-a.dfw", GoodPayload("1"));
    mFolder.Write("a.dfw", GoodPayload("2"));
    mFolder.Write("b-Manifest.xml", GoodPayload("3"));
    EXPECT_EQ(Run({"create", "--model=M", "--upload=GenICam=@my-a.dfw", "--upload=GenICam=@a.dfw",
                   "--upload=GenICam=@b-Manifest.xml", "--description=d", "--version=1", "@p.zip"})
                  .exitStatus,
              0);
    EXPECT_EQ(MemberNames("p.zip"), "a.dfw\nmy-a.dfw\nManifest.xml\nb-Manifest.xml\n");
    Expect({"check", "@p.zip"}, 0, "@p.zip: no problems found\n", "");
}

TEST_F(CreateCommandTest, ReplacesAPackageOnlyWhenAllWentWell) {
    mFolder.Write("p.zip", "the old one");
    mFolder.Write("Manifest.xml", GoodManifest());
    Expect({"create", "--manifest", "@Manifest.xml", "@p.zip"}, 1, "",
           "mirsko-package: @a.dfw: no such file\n");
    EXPECT_EQ(ReadFile(Path("p.zip")), "the old one");
    mFolder.Write("a.dfw", GoodPayload());
    EXPECT_EQ(Run({"create", "--manifest", "@Manifest.xml", "@p.zip"}).exitStatus, 0);
    EXPECT_EQ(Files(), (std::vector<std::string>{"Manifest.xml", "a.dfw", "p.zip"}));
    EXPECT_EQ(MemberNames("p.zip"), "a.dfw\nManifest.xml\n");
}

TEST_F(CreateCommandTest, TellsWhereAManifestBreaksTheGrammar) {
    mFolder.Write("Manifest.xml", "<a>");
    Expect({"create", "--manifest", "@Manifest.xml", "@p.zip"}, 1, "",
           "mirsko-package: Manifest.xml:1:4: Premature end of data in tag a line 1\n");
    Expect({"create", "--manifest", "@none.xml", "@p.zip"}, 1, "",
           "mirsko-package: @none.xml: cannot be read\n");
    EXPECT_FALSE(Exists("p.zip"));
}

TEST_F(CreateCommandTest, RefusesTwoFilesOfOneName) {
    mFolder.Write("one/a.dfw", GoodPayload());
    mFolder.Write("two/a.dfw", GoodPayload());
    Expect(
        {"create", "--model=M", "--upload=TFTP=@one/a.dfw", "--upload=TFTP=@two/a.dfw", "@p.zip"},
        1, "", "mirsko-package: two files are named \"a.dfw\"\n");
    // The same file twice is one member.
    Expect({"create", "--model=M", "--upload=TFTP=@one/a.dfw", "--upload=GenICam=@one/a.dfw",
            "@p.zip"},
           0, "@p.zip: 2 members\n", "");
}

TEST_F(CreateCommandTest, RefusesOptionsThatMakeNoGoodManifest) {
    mFolder.Write(".hidden", "x");
    const ProcessResult result = Run({"create", "--model=M", "--upload=TFTP=@.hidden", "@p.zip"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(
        result.err,
        "mirsko-package: the options do not make a valid manifest: Manifest.xml:5: <FileName> is "
        "\".hidden\", but must be 1 to 128 printable ASCII characters without slash, backslash or "
        "\"..\", and not begin with a dot\n");
    EXPECT_FALSE(Exists("p.zip"));
}

TEST_F(CreateCommandTest, RefusesToOverwriteAFileThatItPacks) {
    mFolder.Write("a.zip", "x");
    Expect({"create", "--model=M", "--upload=TFTP=@a.zip", "@a.zip"}, 1, "",
           "mirsko-package: @a.zip is itself one of the files to pack\n");
    EXPECT_EQ(ReadFile(Path("a.zip")), "x");
}

TEST_F(CreateCommandTest, TellsOfAFolderThatDoesNotExist) {
    mFolder.Write("a.dfw", GoodPayload());
    const ProcessResult result =
        Run({"create", "--model=M", "--upload=TFTP=@a.dfw", "@none/p.zip"});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_NE(result.err.find("none/p.zip"), std::string::npos);
}

TEST_F(CreateCommandTest, AsksForWhatIsMissing) {
    const std::string help = "Run with --help or --help-all for more information.\n";
    Expect({"create", "@p.zip"}, 2, "",
           "create: give --manifest, or at least one --model and one --upload\n" + help);
    Expect({"create", "--model=M", "--upload=TFTP=a", "@p.tar"}, 2, "",
           "PACKAGE: expected a package name that ends in \".zip\", not \"@p.tar\"\n" + help);
    Expect({"create", "--model=M", "--upload=a.dfw", "@p.zip"}, 2, "",
           "--upload: expected TRANSPORT=FILE, e.g. TFTP=camera.dfw, not \"a.dfw\"\n" + help);
    EXPECT_EQ(Run({"create", "--manifest=m", "--model=M", "@p.zip"}).exitStatus, 2);
    EXPECT_EQ(Run({"create"}).exitStatus, 2);
    EXPECT_TRUE(Files().empty());
}

TEST_F(CreateCommandTest, RefusesATransportThatTheUpdaterDoesNotKnow) {
    mFolder.Write("a.dfw", GoodPayload());
    const ProcessResult result = Run({"create", "--model=M", "--upload=tftp=@a.dfw", "@p.zip"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_NE(result.err.find("unknown transport \"tftp\"; expected TFTP or GenICam"),
              std::string::npos)
        << result.err;
    mFolder.Write("Manifest.xml", GoodManifest(Upload("a.dfw", "Genicam")));
    Expect({"create", "--manifest", "@Manifest.xml", "@p.zip"}, 1, "",
           "mirsko-package: procedure \"p\", step 1, FileUpload: unknown transport \"Genicam\"; "
           "expected TFTP or GenICam\n");
    EXPECT_FALSE(Exists("p.zip"));
}

TEST_F(CreateCommandTest, RefusesAPayloadThatTheDeviceWouldReject) {
    std::string payload = GoodPayload();
    payload.back() = static_cast<char>(payload.back() ^ 1);
    mFolder.Write("a.dfw", payload);
    const ProcessResult damaged = Run({"create", "--model=M", "--upload=TFTP=@a.dfw", "@p.zip"});
    EXPECT_EQ(damaged.exitStatus, 1);
    EXPECT_NE(damaged.err.find(Path("a.dfw")), std::string::npos) << damaged.err;
    mFolder.Write("a.dfw", GoodPayload().substr(0, 70));
    Expect({"create", "--model=M", "--upload=TFTP=@a.dfw", "@p.zip"}, 1, "",
           "mirsko-package: @a.dfw is not a firmware payload: its body has 6 bytes, but its header "
           "says 8\n");
    EXPECT_FALSE(Exists("p.zip"));
}

TEST_F(CreateCommandTest, RefusesANameThatTheUpdaterTakesForAnOption) {
    mFolder.Write("a.dfw", GoodPayload());
    const ProcessResult result = Run({"create", "--model=M", "--upload=TFTP=@a.dfw", "@x-3.1.zip"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_NE(result.err.find("the updater takes \"x-3.1.zip\" for an option"), std::string::npos)
        << result.err;
    EXPECT_FALSE(Exists("x-3.1.zip"));
}

TEST_F(CreateCommandTest, NotesAModelNameThatNoGigEVisionDeviceReports) {
    mFolder.Write("a.dfw", GoodPayload());
    const std::string model(32, 'M');
    Expect({"create", "--model", model, "--upload=TFTP=@a.dfw", "@p.zip"}, 0, "@p.zip: 2 members\n",
           "mirsko-package: the model name \"" + model +
               "\" has 32 bytes; a GigE Vision device reports at most 31, so only a USB3 Vision "
               "device can have it\n");
}
