// Requests over HTTP to a database of BaseX, by the HTTP server that Java has: what BaseX brings for
// that is not in Debian.
//
//   java -cp basex.jar BasexServer.java DATABASE
//
// Listens at a port of its own, prints it, and answers GET /?EXPRESSION with what it comes to, from
// a context that all threads share. As many threads as there are processors answer, so that none
// waits for another one's share of them.
import com.sun.net.httpserver.HttpExchange;
import com.sun.net.httpserver.HttpServer;
import java.io.BufferedOutputStream;
import java.io.IOException;
import java.io.OutputStream;
import java.net.InetAddress;
import java.net.InetSocketAddress;
import java.util.concurrent.Executors;
import org.basex.core.Context;
import org.basex.core.cmd.Open;
import org.basex.io.serial.Serializer;
import org.basex.query.QueryException;
import org.basex.query.QueryProcessor;

public final class BasexServer {
    private final Context context = new Context();

    public static void main(final String[] words) throws Exception {
        new BasexServer().run(words[0]);
    }

    private void run(final String database) throws Exception {
        new Open(database).execute(context);
        final InetAddress here = InetAddress.getLoopbackAddress();
        final HttpServer server = HttpServer.create(new InetSocketAddress(here, 0), 1024);
        server.setExecutor(
            Executors.newFixedThreadPool(Runtime.getRuntime().availableProcessors()));
        server.createContext("/", this::answer);
        server.start();
        System.out.println(server.getAddress().getPort());
    }

    private void answer(final HttpExchange exchange) throws IOException {
        exchange.sendResponseHeaders(200, 0);
        try (OutputStream out = new BufferedOutputStream(exchange.getResponseBody(), 1 << 16);
                QueryProcessor query =
                    new QueryProcessor(exchange.getRequestURI().getQuery(), context);
                Serializer serializer = query.getSerializer(out)) {
            query.value().serialize(serializer);
        } catch (final QueryException error) {
            throw new IOException(error);
        }
    }
}
