// Asks for a[i] and b[i] in turn, and offers their sum when the second of them arrives.
// Memory answers in the order of the requests.
module vadd_reader (
    input  wire        clk,
    input  wire        rst_n,
    input  wire        start,
    input  wire [63:0] a,
    input  wire [63:0] b,
    input  wire [31:0] length,

    output wire        arvalid,
    input  wire        arready,
    output wire [63:0] araddr,
    input  wire        rvalid,
    output wire        rready,
    input  wire [31:0] rdata,

    output wire        sum_valid,
    input  wire        sum_ready,
    output wire [31:0] sum
);
    reg ask_b;        // the request at hand is for b[i]
    reg have_a;       // a[i] has arrived, b[i] comes next
    reg [31:0] a_word;
    wire [63:0] offset;
    wire asked = arvalid & arready;
    wire answered = rvalid & rready;

    vadd_walker requests_u (
        .clk(clk), .rst_n(rst_n), .start(start), .length(length),
        .step(asked & ask_b), .busy(arvalid), .offset(offset)
    );

    assign araddr = (ask_b ? b : a) + offset;
    assign rready = ~have_a | sum_ready;
    assign sum_valid = have_a & rvalid;
    assign sum = a_word + rdata;

    always @(posedge clk)
        if (!rst_n) begin
            ask_b <= 0;
            have_a <= 0;
        end else begin
            if (asked) ask_b <= ~ask_b;
            if (answered) have_a <= ~have_a;
            if (answered & ~have_a) a_word <= rdata;
        end
endmodule
