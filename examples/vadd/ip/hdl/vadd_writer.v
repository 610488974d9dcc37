// Stores the sums at out[0], out[1] and so on, and stays busy until memory has confirmed the last of them.
module vadd_writer (
    input  wire        clk,
    input  wire        rst_n,
    input  wire        start,
    input  wire [63:0] out,
    input  wire [31:0] length,
    output wire        busy,

    input  wire        sum_valid,
    output wire        sum_ready,
    input  wire [31:0] sum,

    output wire        awvalid,
    input  wire        awready,
    output wire [63:0] awaddr,
    output wire        wvalid,
    input  wire        wready,
    output wire [31:0] wdata,
    input  wire        bvalid,
    output wire        bready
);
    wire [63:0] offset;

    vadd_walker requests_u (
        .clk(clk), .rst_n(rst_n), .start(start), .length(length),
        .step(awvalid & awready), .busy(awvalid), .offset(offset)
    );
    vadd_walker answers_u (
        .clk(clk), .rst_n(rst_n), .start(start), .length(length),
        .step(bvalid & bready), .busy(busy), .offset()
    );

    assign awaddr = out + offset;
    assign wvalid = sum_valid;
    assign sum_ready = wready;
    assign wdata = sum;
    assign bready = 1'b1;
endmodule
