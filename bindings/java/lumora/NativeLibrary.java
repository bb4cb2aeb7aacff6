package lumora;

import java.io.IOException;
import java.io.InputStream;
import java.io.UncheckedIOException;
import java.nio.file.Files;
import java.nio.file.Path;

/** The library and the page that draws messages, as the jar carries them. */
final class NativeLibrary {
  private static final String PAGE = "LMRResources.bundle/LMRInApp.html";
  private static final String LIBRARY = "liblumora_java.so";
  private static Path resources;

  private NativeLibrary() {}

  /** Once it is loaded, the file is not needed any more. */
  static void load() {
    try {
      Path folder = Files.createTempDirectory("lumora");
      Path library = copy("native/" + LIBRARY, folder.resolve(LIBRARY));
      try {
        System.load(library.toString());
      } finally {
        Files.delete(library);
        Files.delete(folder);
      }
    } catch (IOException exception) {
      throw new UncheckedIOException(exception);
    }
  }

  /** A folder with the page; it goes when the machine ends. */
  static synchronized String resourcesDirectory() {
    try {
      if (resources == null) {
        Path folder = Files.createTempDirectory("lumora");
        Path page = folder.resolve(PAGE);
        // They are deleted in the reverse order.
        folder.toFile().deleteOnExit();
        Files.createDirectory(page.getParent()).toFile().deleteOnExit();
        copy("resources/" + PAGE, page).toFile().deleteOnExit();
        resources = folder;
      }
      return resources.toString();
    } catch (IOException exception) {
      throw new UncheckedIOException(exception);
    }
  }

  private static Path copy(String name, Path to) throws IOException {
    try (InputStream from = NativeLibrary.class.getResourceAsStream(name)) {
      if (from == null) {
        throw new IOException("the jar has no " + name);
      }
      Files.copy(from, to);
    }
    return to;
  }
}
