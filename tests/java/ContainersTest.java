import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.List;
import ui.data.containers.containersi;

/** The native methods in a real JVM, on a package that kp made. The first failure ends it. */
final class ContainersTest {
    private static final String NULL_STRING = "null std::string";
    private static final String NULL_LIST = "std::vector< std::string > & reference is null";

    private final String kp;
    private final Path directory;
    private final String path;
    private final StringList out = new StringList();
    private final StringList errors = new StringList();

    private ContainersTest(String kp, String example) throws Exception {
        this.kp = kp;
        directory = Files.createTempDirectory("kp-java-Größe é 日本 𝒜😀");
        path = directory + "/🚀.kp";
        output(kp, "add", path, example + "/kernel.xml", "--ip", example + "/ip", "--report", example + "/design.xml");
    }

    private void clear() {
        containersi.StringVector_clear(out.handle);
        containersi.StringVector_clear(errors.handle);
    }

    private void listsKeepTexts() {
        // Each stands for itself but halves of surrogate pairs, which are no characters.
        List<String> given = List.of("", "plain", "é\u00df", "日本", "𝒜😀", "in\0side", "\uD835", "\uDC00\uD835x");
        List<String> kept = given.stream().map(text -> text.replaceAll("[\\x{D800}-\\x{DFFF}]", "\uFFFD")).toList();
        for (String text : given) containersi.StringVector_push_back(out.handle, text);
        same((long) given.size(), containersi.StringVector_size(out.handle));
        same(kept, out.toList());
        clear();
        same(List.of(), out.toList());
    }

    private void reportsAndFilesAreThoseOfThePackage() throws Exception {
        same(1, containersi.getInfoAsTxt(path, out.handle, errors.handle));
        same(1, containersi.getInfoAsJson(path, out.handle, errors.handle));
        same(List.of(output(kp, "info", path), output(kp, "info", "--json", path)), out.toList());
        clear();

        same(1, containersi.readFileInKP(path, "vadd/kernel.xml", out.handle, errors.handle));
        Path destination = directory.resolve("𝒜us");
        same(1, containersi.extractKernelFromKP(path, "vadd", destination.toString(), errors.handle));
        same(Files.readAllLines(destination.resolve("vadd/kernel.xml")), out.toList());
        same(List.of(), errors.toList());
        clear();
    }

    private void failuresAreTexts() throws Exception {
        String missing = directory + "/𝒜.kp";
        String cut = directory + "/cut.kp";
        Files.write(Path.of(cut), Arrays.copyOf(Files.readAllBytes(Path.of(path)), 4000));
        for (String source : List.of(missing, cut, directory.toString())) {
            same(0, containersi.readFileInKP(source, "vadd", out.handle, errors.handle));
            same(List.of("Failed to read file vadd from " + source), errors.toList());
            same(0, containersi.getInfoAsJson(source, out.handle, errors.handle));
            same(0, containersi.getInfoAsTxt(source, out.handle, errors.handle));
            same(0, containersi.extractKernelFromKP(source, "vadd", directory + "/x", errors.handle));
            same(4L, containersi.StringVector_size(errors.handle));
            clear();
        }
        same(0, containersi.extractKernelFromKP(path, "other", directory + "/x", errors.handle));
        same(List.of("Kernel 'other' was not found inside KP container '" + path + "'\n"), errors.toList());
        same(List.of(), out.toList());
        clear();
    }

    private void nullsAreRefusedFromLeftToRight() {
        long list = out.handle;
        raises(NULL_LIST, () -> containersi.delete_StringVector(0));
        raises(NULL_LIST, () -> containersi.StringVector_size(0));
        raises(NULL_LIST, () -> containersi.StringVector_clear(0));
        raises(NULL_LIST, () -> containersi.StringVector_createIter(0));
        raises(NULL_LIST, () -> containersi.StringVector_push_back(0, null));
        raises(NULL_STRING, () -> containersi.StringVector_push_back(list, null));
        raises(NULL_STRING, () -> containersi.getInfoAsJson(null, 0, 0));
        raises(NULL_LIST, () -> containersi.getInfoAsTxt(path, list, 0));
        raises(NULL_STRING, () -> containersi.readFileInKP(path, null, 0, 0));
        raises(NULL_LIST, () -> containersi.extractKernelFromKP(path, "vadd", path, 0));
        same(List.of(), out.toList());
    }

    /** Eleven thousand calls. A text of theirs takes 20 KB: one lost in each round shows five times over. */
    private void callsKeepNoMemory() throws Exception {
        String text = "é".repeat(10_000);
        int rounds = 1_000;
        for (int i = 0; i < rounds / 4; ++i) callEverything(text);
        long before = residentBytes();
        for (int i = 0; i < rounds; ++i) callEverything(text);
        long grown = residentBytes() - before;
        if (grown > rounds * 4_000L) throw new AssertionError("native memory has grown by " + grown + " bytes");
    }

    private void callEverything(String text) {
        try (StringList list = new StringList();
                StringList failures = new StringList()) {
            containersi.StringVector_push_back(list.handle, text);
            containersi.StringVector_clear(list.handle);
            containersi.StringVector_push_back(list.handle, text);
            same(List.of(text), list.toList());
            same(1, containersi.getInfoAsTxt(path, list.handle, failures.handle));
            same(1, containersi.getInfoAsJson(path, list.handle, failures.handle));
            same(0, containersi.readFileInKP(path, text, list.handle, failures.handle));
            same(0, containersi.extractKernelFromKP(path, text, path, failures.handle));
            same(2L, containersi.StringVector_size(failures.handle));
            raises(NULL_STRING, () -> containersi.readFileInKP(text, null, 0, 0));
        }
    }

    private static long residentBytes() throws IOException {
        return Long.parseLong(Files.readString(Path.of("/proc/self/statm")).split(" ")[1]) * 4096;
    }

    private static String output(String... command) throws Exception {
        Process process = new ProcessBuilder(command).redirectError(ProcessBuilder.Redirect.INHERIT).start();
        String printed = new String(process.getInputStream().readAllBytes());
        same(0, process.waitFor());
        return printed;
    }

    private static void same(Object expected, Object actual) {
        if (!expected.equals(actual)) throw new AssertionError("expected <" + expected + ">, found <" + actual + ">");
    }

    private static void raises(String text, Runnable action) {
        try {
            action.run();
        } catch (NullPointerException raised) {
            same(text, raised.getMessage());
            return;
        }
        throw new AssertionError("nothing raised");
    }

    public static void main(String[] arguments) throws Exception {
        ContainersTest test = new ContainersTest(arguments[0], arguments[1]);
        try {
            test.listsKeepTexts();
            test.reportsAndFilesAreThoseOfThePackage();
            test.failuresAreTexts();
            test.nullsAreRefusedFromLeftToRight();
            test.callsKeepNoMemory();
        } finally {
            output("rm", "-r", test.directory.toString());
        }
    }
}
